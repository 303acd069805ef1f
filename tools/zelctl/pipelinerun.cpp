#include "pipelinerun.h"

#include "identities.h"
#include "socketbudget.h"
#include "streamaddress.h"

#include <zel/controlmessagehelper.h>

#include <cstdio>

namespace {

using zel::ControlMessageHelper;
using zelmsg::ControlMessage;

std::string utf8(QString const& text) { return text.toStdString(); }

QString onHost(QString const& host) { return host.isEmpty() ? QString() : QStringLiteral(" on ") + host; }
QString groupText(PipelineGroup const& g) { return QStringLiteral("group ") + g.name + onHost(g.host); }
QString processorText(PipelineGroup const& g, PipelineProcessor const& p)
{
    return QStringLiteral("processor %1/%2%3").arg(g.name, p.name, onHost(g.host));
}

QStringList splitList(QString const& list) { return list.isEmpty() ? QStringList() : list.split(QLatin1Char(',')); }

// Whether a source already takes in all that `take` asks for: the same address, and the filters
// (none means everything, which only no filters give).
bool covers(zelmsg::DataSource const& source, QString const& address, QStringList const& filters)
{
    if (source.GetAddress() != address)
        return false;
    QStringList const has = source.GetFilter().toList();
    if (filters.isEmpty() || has.isEmpty())
        return filters.isEmpty() && has.isEmpty();
    for (QString const& filter : filters) {
        if (!has.contains(filter))
            return false;
    }
    return true;
}

int runFile(Invocation& call, int (PipelineRun::*what)())
{
    QString error;
    std::optional<Pipeline> const pipeline = Pipeline::read(call.args[0], error);
    if (!pipeline) {
        std::fprintf(stderr, "zelctl: %s\n", qPrintable(error));
        return ExitUsage;
    }
    // Past the socket limit, a create fails half way through the file; better to say so before.
    QStringList const crossings = what == &PipelineRun::apply ? SocketBudget::crossings(*pipeline) : QStringList();
    for (QString const& crossing : crossings)
        std::fprintf(stderr, "zelctl: %s: %s%s\n", qPrintable(call.args[0]), qPrintable(crossing),
            call.line.has(QStringLiteral("--force")) ? "" : " (--force applies it anyway)");
    if (!crossings.isEmpty() && !call.line.has(QStringLiteral("--force")))
        return ExitUsage;
    PipelineRun run(*pipeline, call.client);
    return (run.*what)();
}

} // namespace

PipelineRun::PipelineRun(Pipeline const& pipeline, SystemClient& defaultClient)
    : pipeline(pipeline)
    , defaultClient(defaultClient)
{ }

int PipelineRun::applyCommand(Invocation& call) { return runFile(call, &PipelineRun::apply); }
int PipelineRun::downCommand(Invocation& call) { return runFile(call, &PipelineRun::down); }

SystemClient& PipelineRun::client(QString const& host)
{
    if (host.isEmpty())
        return defaultClient;
    std::unique_ptr<SystemClient>& made = clients[host];
    if (!made)
        made = std::make_unique<SystemClient>(utf8(pipeline.hosts.value(host)), defaultClient.timeout());
    return *made;
}

QString PipelineRun::frontend(QString const& host) { return QString::fromStdString(client(host).address()); }

bool PipelineRun::ask(
    QString const& host, std::string const& identity, ControlMessage& record, int line, QString const& what)
{
    Outcome const outcome = client(host).request(identity, record);
    if (outcome == Outcome::Success)
        return true;
    QString const reason = outcome == Outcome::Timeout
        ? QStringLiteral("no answer from %1 within %2 ms").arg(frontend(host)).arg(client(host).timeout())
        : record.GetResultTypeAsString() + QStringLiteral(": ") + record.GetMessageText();
    std::fprintf(
        stderr, "zelctl: %s:%d: %s: %s\n", qPrintable(pipeline.path), line, qPrintable(what), qPrintable(reason));
    exitCode = outcome == Outcome::Timeout ? ExitTimeout : ExitFailure;
    return false;
}

void PipelineRun::did(QString const& text)
{
    ++changes;
    std::printf("%s\n", qPrintable(text));
}

void PipelineRun::summarise(QString const& none) const
{
    QString const text = changes == 0 ? none
        : changes == 1                ? QStringLiteral("1 change")
                                      : QStringLiteral("%1 changes").arg(changes);
    std::printf("%s\n", qPrintable(text));
}

bool PipelineRun::groupExists(PipelineGroup const& g, bool& exists)
{
    if (!groupsByHost.contains(g.host)) {
        ControlMessage query = ControlMessageHelper::makeQueryProcessorGroupsMessage();
        if (!ask(g.host, Identities::manager(), query, g.line, QStringLiteral("listing the groups") + onHost(g.host)))
            return false;
        groupsByHost[g.host] = splitList(query.GetParameter());
    }
    exists = groupsByHost[g.host].contains(g.name);
    return true;
}

bool PipelineRun::processorsOf(PipelineGroup const& g, QStringList& names)
{
    ControlMessage query = ControlMessageHelper::makeQueryProcessorsMessage();
    if (!ask(g.host, Identities::group(g.name), query, g.line,
            QStringLiteral("listing the processors of ") + groupText(g)))
        return false;
    names = splitList(query.GetParameter());
    return true;
}

int PipelineRun::apply()
{
    for (PipelineGroup const& g : pipeline.groups) {
        if (!applyGroup(g))
            return exitCode;
    }
    for (Pipeline::Step const& step : pipeline.order) {
        if (!applyProcessor(*step.group, *step.processor))
            return exitCode;
    }
    summarise(QStringLiteral("nothing to change"));
    return ExitSuccess;
}

bool PipelineRun::applyGroup(PipelineGroup const& g)
{
    bool exists = false;
    if (!groupExists(g, exists))
        return false;
    if (exists)
        return true;
    ControlMessage create = ControlMessageHelper::makeCreateProcessorGroupMessage(utf8(g.name));
    if (!ask(g.host, Identities::manager(), create, g.line, QStringLiteral("creating ") + groupText(g)))
        return false;
    groupsByHost[g.host] << g.name;
    did(QStringLiteral("created ") + groupText(g));
    return true;
}

bool PipelineRun::applyProcessor(PipelineGroup const& g, PipelineProcessor const& p)
{
    QStringList existing;
    if (!processorsOf(g, existing))
        return false;
    bool const created = !existing.contains(p.name);
    if (created) {
        zelmsg::Processor config;
        if (!p.stream.isEmpty()) {
            config = ControlMessageHelper::makeProcessorConfig(utf8(p.stream), utf8(p.addresses.first()));
            for (QString const& address : p.addresses.mid(1))
                config.GetDataStream().first().AppendAddress(address);
        }
        ControlMessage create = ControlMessageHelper::makeCreateProcessorMessage(utf8(p.type), utf8(p.name), config);
        if (!ask(g.host, Identities::group(g.name), create, p.line, QStringLiteral("creating ") + processorText(g, p)))
            return false;
        did(QStringLiteral("created %1 (%2)").arg(processorText(g, p), p.type));
    }
    for (PipelineTake const& take : p.takes) {
        if (!applyTake(g, p, take))
            return false;
    }
    return applyParameters(g, p, created);
}

bool PipelineRun::applyTake(PipelineGroup const& g, PipelineProcessor const& p, PipelineTake const& take)
{
    QString const stream = QStringLiteral("stream %1 of group %2%3").arg(take.stream, take.group, onHost(take.host));
    ControlMessage resolve = ControlMessageHelper::makeResolveStreamMessage(utf8(take.stream));
    if (!ask(take.host, Identities::nameService(take.group), resolve, take.line, QStringLiteral("resolving ") + stream))
        return false;
    QString const address = StreamAddress::dialable(
        resolve.GetStreamAddresses(), frontend(take.host), frontend(take.host) != frontend(g.host));
    if (address.isEmpty()) {
        std::fprintf(stderr, "zelctl: %s:%d: %s has no address that %s can dial\n", qPrintable(pipeline.path),
            take.line, qPrintable(stream), qPrintable(processorText(g, p)));
        exitCode = ExitFailure;
        return false;
    }
    ControlMessage sources = ControlMessageHelper::makeQuerySourcesMessage();
    if (!ask(g.host, Identities::processor(g.name, p.name), sources, take.line,
            QStringLiteral("listing the inputs of ") + processorText(g, p)))
        return false;
    for (zelmsg::DataSource const& source : sources.GetDataSource()) {
        if (covers(source, address, take.filters))
            return true;
    }
    std::vector<std::string> filters;
    for (QString const& filter : take.filters)
        filters.push_back(utf8(filter));
    ControlMessage connect = ControlMessageHelper::makeConnectStreamMessage(utf8(take.stream), utf8(address), filters);
    if (!ask(g.host, Identities::processor(g.name, p.name), connect, take.line,
            QStringLiteral("connecting ") + processorText(g, p)))
        return false;
    did(QStringLiteral("connected %1 to %2 at %3%4")
            .arg(processorText(g, p), stream, address,
                take.filters.isEmpty() ? QString()
                                       : QStringLiteral(", filters ") + take.filters.join(QLatin1Char(','))));
    return true;
}

// A processor this run made gets every parameter; one that was there gets those whose value
// differs. A parameter that cannot be read back (a command such as reset) is not sent again.
bool PipelineRun::applyParameters(PipelineGroup const& g, PipelineProcessor const& p, bool created)
{
    for (auto const& [name, value] : p.parameters) {
        if (!created) {
            ControlMessage get = ControlMessageHelper::makeGetParameterMessage(utf8(name));
            if (client(g.host).request(Identities::processor(g.name, p.name), get) != Outcome::Success
                || get.GetParameter() == value)
                continue;
        }
        ControlMessage set = ControlMessageHelper::makeSetParameterMessage(utf8(name), utf8(value));
        if (!ask(g.host, Identities::processor(g.name, p.name), set, p.line,
                QStringLiteral("setting %1 of %2").arg(name, processorText(g, p))))
            return false;
        did(QStringLiteral("set %1 of %2 to %3").arg(name, processorText(g, p), value));
    }
    return true;
}

// Processors in the reverse of their making, then each group that is left empty. A group that
// still holds processors the file did not make stays.
int PipelineRun::down()
{
    for (auto step = pipeline.order.rbegin(); step != pipeline.order.rend(); ++step) {
        PipelineGroup const& g = *step->group;
        bool exists = false;
        QStringList names;
        if (!groupExists(g, exists) || (exists && !processorsOf(g, names)))
            return exitCode;
        if (!names.contains(step->processor->name))
            continue;
        ControlMessage remove = ControlMessageHelper::makeDeleteProcessorMessage(utf8(step->processor->name));
        if (!ask(g.host, Identities::group(g.name), remove, step->processor->line,
                QStringLiteral("deleting ") + processorText(g, *step->processor)))
            return exitCode;
        did(QStringLiteral("deleted ") + processorText(g, *step->processor));
    }
    for (auto g = pipeline.groups.rbegin(); g != pipeline.groups.rend(); ++g) {
        bool exists = false;
        QStringList names;
        if (!groupExists(*g, exists) || (exists && !processorsOf(*g, names)))
            return exitCode;
        if (!exists)
            continue;
        if (!names.isEmpty()) {
            std::printf("kept %s: it still holds %s\n", qPrintable(groupText(*g)), qPrintable(names.join(", ")));
            continue;
        }
        ControlMessage remove = ControlMessageHelper::makeDeleteProcessorGroupMessage(utf8(g->name));
        if (!ask(g->host, Identities::manager(), remove, g->line, QStringLiteral("deleting ") + groupText(*g)))
            return exitCode;
        groupsByHost[g->host].removeAll(g->name);
        did(QStringLiteral("deleted ") + groupText(*g));
    }
    summarise(QStringLiteral("nothing to delete"));
    return ExitSuccess;
}
