#include "graph.h"

#include "identities.h"
#include "reply.h"
#include "topology.h"

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

QString path(ProcessorView const& processor) { return processor.group + QLatin1Char('/') + processor.name; }

// Group, processors, and under each its streams and its inputs with where they come from.
QString tree(Topology const& topology)
{
    QVector<Link> const links = topology.links();
    QStringList lines;
    for (GroupView const& group : topology.groups) {
        lines << withProblem(group.name, group.problem);
        for (ProcessorView const& processor : group.processors) {
            lines << QStringLiteral("  ") + withProblem(processor.name, processor.problem);
            for (zelmsg::DataStream const& stream : processor.streams)
                lines << QStringLiteral("    stream ") + streamLine(stream);
            for (Link const& link : links) {
                if (link.to != &processor)
                    continue;
                QString const origin = link.from ? path(*link.from) + QStringLiteral(" stream ") + link.stream
                                                 : QStringLiteral("outside the system");
                lines << QStringLiteral("    input  ") + link.source.GetAddress() + QStringLiteral("  from ") + origin
                        + QStringLiteral("  ") + filterText(link.source);
            }
        }
    }
    return lines.join(QLatin1Char('\n'));
}

// A double-quoted ID or label; a line end becomes a Graphviz line break.
QString quoted(QString const& text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\\'), QStringLiteral("\\\\")).replace(QLatin1Char('"'), QStringLiteral("\\\""));
    return QLatin1Char('"') + escaped.replace(QLatin1Char('\n'), QStringLiteral("\\n")) + QLatin1Char('"');
}

QString nodeLabel(ProcessorView const& processor)
{
    QStringList parts { withProblem(processor.name, processor.problem) };
    for (zelmsg::DataStream const& stream : processor.streams)
        parts << streamLine(stream);
    return quoted(parts.join(QLatin1Char('\n')));
}

// Groups as clusters of processors; an edge per input, labelled with the stream and its filters.
// Inputs from addresses that no processor here publishes start at a node of their own.
QString dot(Topology const& topology)
{
    QStringList lines { QStringLiteral("digraph zel {"), QStringLiteral("  rankdir=LR;"),
        QStringLiteral("  node [shape=box];") };
    for (GroupView const& group : topology.groups) {
        lines << QStringLiteral("  subgraph ") + quoted(QStringLiteral("cluster_") + group.name) + QStringLiteral(" {");
        lines << QStringLiteral("    label=") + quoted(withProblem(group.name, group.problem)) + QLatin1Char(';');
        for (ProcessorView const& processor : group.processors)
            lines << QStringLiteral("    ") + quoted(path(processor)) + QStringLiteral(" [label=")
                    + nodeLabel(processor) + QStringLiteral("];");
        lines << QStringLiteral("  }");
    }
    for (Link const& link : topology.links()) {
        QString from = quoted(link.source.GetAddress());
        if (link.from)
            from = quoted(path(*link.from));
        else
            lines << QStringLiteral("  ") + from + QStringLiteral(" [shape=plaintext];");
        QStringList label;
        if (link.from)
            label << link.stream;
        if (QStringList const filters = link.source.GetFilter().toList(); !filters.isEmpty())
            label << QLatin1Char('[') + filters.join(QLatin1Char(',')) + QLatin1Char(']');
        lines << QStringLiteral("  ") + from + QStringLiteral(" -> ") + quoted(path(*link.to))
                + QStringLiteral(" [label=") + quoted(label.join(QLatin1Char('\n'))) + QStringLiteral("];");
    }
    lines << QStringLiteral("}");
    return lines.join(QLatin1Char('\n'));
}

} // namespace

int graph(Invocation& call)
{
    QString const format = call.line.value(QStringLiteral("--format"), QStringLiteral("text"));
    if (format != QLatin1String("dot") && format != QLatin1String("text")) {
        err(QStringLiteral("--format takes dot or text"));
        return ExitUsage;
    }
    Topology topology;
    zelmsg::ControlMessage failed;
    Outcome const outcome = Topology::query(call.client, topology, failed);
    if (outcome != Outcome::Success)
        return conclude(call, Identities::manager(), outcome, failed, printNothing);
    if (topology.groups.isEmpty()) {
        err(QStringLiteral("no groups"));
        return ExitSuccess;
    }
    QString const text = format == QLatin1String("dot") ? dot(topology) : tree(topology);
    if (!text.isEmpty())
        out(text);
    return ExitSuccess;
}
