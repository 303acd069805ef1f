#include "graphview.h"

#include <QStringList>

namespace {

QString filterText(zelmsg::DataSource const& source)
{
    QStringList const filters = source.GetFilter().toList();
    return filters.isEmpty() ? QStringLiteral("(everything)")
                             : QStringLiteral("filters: ") + filters.join(QLatin1Char(','));
}

QString streamLine(zelmsg::DataStream const& stream)
{
    return stream.GetName() + QStringLiteral("  ") + stream.GetAddress().toList().join(QLatin1Char(' '));
}

QString withProblem(QString const& name, QString const& problem)
{
    return problem.isEmpty() ? name : name + QStringLiteral("  (") + problem + QLatin1Char(')');
}

// Its type and, when stopped, that; or why nothing is known of it.
QString description(Observation const& observation, ProcessorView const& processor)
{
    if (!processor.problem.isEmpty())
        return QLatin1Char('(') + processor.problem + QLatin1Char(')');
    QString const key = Observation::key(processor);
    auto const sample = observation.samples.constFind(key);
    if (sample == observation.samples.cend())
        return QLatin1Char('(') + observation.problems.value(key) + QLatin1Char(')');
    return sample->state == QLatin1String("running") ? sample->type : sample->type + QStringLiteral("  (stopped)");
}

QString rateText(ObservedRates const* rates, Link const& link)
{
    std::optional<double> const rate = rates ? rates->linkRate(link) : std::nullopt;
    return rate ? QString::number(qRound64(*rate)) + QStringLiteral(" msg/s") : QString();
}

// A double-quoted ID or label; a line end becomes a Graphviz line break.
QString quoted(QString const& text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\\'), QStringLiteral("\\\\")).replace(QLatin1Char('"'), QStringLiteral("\\\""));
    return QLatin1Char('"') + escaped.replace(QLatin1Char('\n'), QStringLiteral("\\n")) + QLatin1Char('"');
}

QString nodeLabel(Observation const& observation, ProcessorView const& processor)
{
    QStringList parts { processor.name, description(observation, processor) };
    for (zelmsg::DataStream const& stream : processor.streams)
        parts << streamLine(stream);
    return quoted(parts.join(QLatin1Char('\n')));
}

} // namespace

// Group, processors, and under each its streams and its inputs with where they come from.
QString graphTree(Observation const& observation, ObservedRates const* rates)
{
    QVector<Link> const links = observation.topology.links();
    QStringList lines;
    for (GroupView const& group : observation.topology.groups) {
        lines << withProblem(group.name, group.problem);
        for (ProcessorView const& processor : group.processors) {
            lines << QStringLiteral("  ") + processor.name + QStringLiteral("  ") + description(observation, processor);
            for (zelmsg::DataStream const& stream : processor.streams)
                lines << QStringLiteral("    stream ") + streamLine(stream);
            for (Link const& link : links) {
                if (link.to != &processor)
                    continue;
                QString const origin = link.from
                    ? Observation::key(*link.from) + QStringLiteral(" stream ") + link.stream
                    : QStringLiteral("outside the system");
                QString line = QStringLiteral("    input  ") + link.source.GetAddress() + QStringLiteral("  from ")
                    + origin + QStringLiteral("  ") + filterText(link.source);
                if (QString const rate = rateText(rates, link); !rate.isEmpty())
                    line += QStringLiteral("  ") + rate;
                lines << line;
            }
        }
    }
    return lines.join(QLatin1Char('\n'));
}

// Groups as clusters of processors; an edge per input, labelled with the stream, its filters and
// its rate. Inputs from addresses that no processor here publishes start at a node of their own.
QString graphDot(Observation const& observation, ObservedRates const* rates)
{
    QStringList lines { QStringLiteral("digraph zel {"), QStringLiteral("  rankdir=LR;"),
        QStringLiteral("  node [shape=box];") };
    for (GroupView const& group : observation.topology.groups) {
        lines << QStringLiteral("  subgraph ") + quoted(QStringLiteral("cluster_") + group.name) + QStringLiteral(" {");
        lines << QStringLiteral("    label=") + quoted(withProblem(group.name, group.problem)) + QLatin1Char(';');
        for (ProcessorView const& processor : group.processors)
            lines << QStringLiteral("    ") + quoted(Observation::key(processor)) + QStringLiteral(" [label=")
                    + nodeLabel(observation, processor) + QStringLiteral("];");
        lines << QStringLiteral("  }");
    }
    for (Link const& link : observation.topology.links()) {
        QString from = quoted(link.source.GetAddress());
        if (link.from)
            from = quoted(Observation::key(*link.from));
        else
            lines << QStringLiteral("  ") + from + QStringLiteral(" [shape=plaintext];");
        QStringList label;
        if (link.from)
            label << link.stream;
        if (QStringList const filters = link.source.GetFilter().toList(); !filters.isEmpty())
            label << QLatin1Char('[') + filters.join(QLatin1Char(',')) + QLatin1Char(']');
        if (QString const rate = rateText(rates, link); !rate.isEmpty())
            label << rate;
        lines << QStringLiteral("  ") + from + QStringLiteral(" -> ") + quoted(Observation::key(*link.to))
                + QStringLiteral(" [label=") + quoted(label.join(QLatin1Char('\n'))) + QStringLiteral("];");
    }
    lines << QStringLiteral("}");
    return lines.join(QLatin1Char('\n'));
}
