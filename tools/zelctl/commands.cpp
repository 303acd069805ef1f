#include "commands.h"

#include "clientkeys.h"
#include "diagnosis.h"
#include "graph.h"
#include "guards.h"
#include "identities.h"
#include "mcapinfo.h"
#include "pipelinerun.h"
#include "play.h"
#include "plugins.h"
#include "record.h"
#include "reply.h"
#include "serve.h"
#include "streamaddress.h"
#include "tap.h"
#include "top.h"
#include "typehint.h"

#include <zel/configtool.h>
#include <zel/controlmessagehelper.h>

#include <QFile>
#include <QTextStream>

#include <cstdio>
#include <memory>
#include <utility>

namespace {

using zel::ControlMessageHelper;
using zelmsg::ControlMessage;

std::string utf8(QString const& text) { return text.toStdString(); }
// GROUP PROCESSOR, the first two words of a processor's commands.
std::string processorIdentity(QStringList const& args) { return Identities::processor(args[0], args[1]); }

void printList(ControlMessage const& reply)
{
    QString const list = reply.GetParameter();
    if (!list.isEmpty())
        out(list.split(QLatin1Char(',')).join(QLatin1Char('\n')));
}
// No groups is an answer too, but one a person should not mistake for a missing reply.
void printGroups(ControlMessage const& reply)
{
    if (reply.GetParameter().isEmpty())
        err(QStringLiteral("no groups"));
    printList(reply);
}
void printValue(ControlMessage const& reply) { out(reply.GetParameter()); }

int exchange(Invocation& call, std::string const& identity, ControlMessage record, Printer const& print)
{
    Outcome const outcome = call.client.request(identity, record);
    return conclude(call, identity, outcome, record, print);
}

bool readFile(QString const& path, QString& text)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    text = QString::fromUtf8(file.readAll());
    return true;
}

// The configuration of a new processor: an XML file, or one stream with one address.
bool processorConfig(Invocation& call, zelmsg::Processor& config)
{
    if (call.line.has(QStringLiteral("--content-type")) && !call.line.has(QStringLiteral("--stream"))) {
        err(QStringLiteral("--content-type goes with --stream and --stream-address"));
        return false;
    }
    if (call.line.has(QStringLiteral("--config"))) {
        QString text;
        if (!readFile(call.line.value(QStringLiteral("--config")), text)) {
            err(QStringLiteral("cannot read %1").arg(call.line.value(QStringLiteral("--config"))));
            return false;
        }
        if (!config.SetXmlString(text, false)) {
            err(QStringLiteral("%1 is not a processor configuration").arg(call.line.value(QStringLiteral("--config"))));
            return false;
        }
        return true;
    }
    if (call.line.has(QStringLiteral("--stream")) != call.line.has(QStringLiteral("--stream-address"))) {
        err(QStringLiteral("--stream and --stream-address go together"));
        return false;
    }
    if (call.line.has(QStringLiteral("--stream")))
        config = ControlMessageHelper::makeProcessorConfig(utf8(call.line.value(QStringLiteral("--stream"))),
            utf8(call.line.value(QStringLiteral("--stream-address"))));
    // An HttpBridge reads a stream's second address as the Content-Type of its POSTs.
    if (call.line.has(QStringLiteral("--content-type")))
        config.GetDataStream().first().AppendAddress(call.line.value(QStringLiteral("--content-type")));
    return true;
}

std::vector<std::string> filters(Invocation& call)
{
    std::vector<std::string> result;
    for (QString const& filter : call.line.values(QStringLiteral("--filter")))
        result.push_back(utf8(filter));
    return result;
}

// Where a stream lives, asked of the group's name service: "processor  address..." lines.
void printResolved(ControlMessage const& reply)
{
    out(QStringLiteral("processor %1").arg(reply.GetProcessorName()));
    for (QString const& address : reply.GetStreamAddresses())
        out(address);
}

void printSources(ControlMessage const& reply)
{
    for (zelmsg::DataSource const& source : reply.GetDataSource()) {
        QStringList const filterList = source.GetFilter().toList();
        out(source.GetAddress()
            + (filterList.isEmpty() ? QStringLiteral("  (everything)")
                                    : QStringLiteral("  filters: ") + filterList.join(QLatin1Char(','))));
    }
}

void printStreams(ControlMessage const& reply)
{
    for (zelmsg::DataStream const& stream : reply.GetDataStream())
        out(stream.GetName() + QStringLiteral("  ") + stream.GetAddress().toList().join(QLatin1Char(' ')));
}

int connect(Invocation& call)
{
    QString address = call.args.value(3);
    if (!address.isEmpty() && !acceptSourceAddress(call, address))
        return int(ExitUsage);
    if (address.isEmpty()) {
        QString const host = call.line.value(QStringLiteral("--stream-host"));
        std::unique_ptr<SystemClient> other
            = host.isEmpty() ? nullptr : std::make_unique<SystemClient>(utf8(host), call.client.timeout());
        Invocation at { call.line, other ? *other : call.client, call.args };
        ControlMessage resolve = ControlMessageHelper::makeResolveStreamMessage(utf8(call.args[2]));
        std::string const nameService
            = Identities::nameService(call.line.value(QStringLiteral("--stream-group"), call.args[0]));
        Outcome const outcome = at.client.request(nameService, resolve);
        if (outcome != Outcome::Success)
            return conclude(at, nameService, outcome, resolve, printNothing);
        address = StreamAddress::dialable(
            resolve.GetStreamAddresses(), QString::fromStdString(at.client.address()), other != nullptr);
        if (address.isEmpty()) {
            err(QStringLiteral("stream %1 is registered without an address this host can dial").arg(call.args[2]));
            return ExitFailure;
        }
    }
    return exchange(call, processorIdentity(call.args),
        ControlMessageHelper::makeConnectStreamMessage(utf8(call.args[2]), utf8(address), filters(call)), printNothing);
}

// The group's text for a type it has no plug-in for says no more than that; zelctl knows more.
int createProcessor(Invocation& call, zelmsg::Processor const& config)
{
    ControlMessage record
        = ControlMessageHelper::makeCreateProcessorMessage(utf8(call.args[2]), utf8(call.args[1]), config);
    std::string const identity = Identities::group(call.args[0]);
    Outcome const outcome = call.client.request(identity, record);
    int const code = conclude(call, identity, outcome, record, printNothing);
    if (record.GetMessageText() == QStringLiteral("Processor of type '%1' could not be created.").arg(call.args[2])) {
        for (QString const& hint : typeHints(call.args[2]))
            err(hint);
    }
    return code;
}

int send(Invocation& call)
{
    QString text;
    if (!readFile(call.args[1], text)) {
        err(QStringLiteral("cannot read %1").arg(call.args[1]));
        return ExitUsage;
    }
    ControlMessage record;
    if (!record.SetXmlString(text, false) || !record.IsMessageTypeSet()) {
        err(QStringLiteral("%1 holds no control record").arg(call.args[1]));
        return ExitUsage;
    }
    return exchange(call, utf8(call.args[0]), record, [](ControlMessage const& reply) { out(reply.GetXmlString()); });
}

std::vector<Command> makeCommands()
{
    QString const gp = QStringLiteral("GROUP PROCESSOR");
    return {
        { "groups", "", "list the groups", "", 0, 0,
            [](Invocation& c) {
                return exchange(
                    c, Identities::manager(), ControlMessageHelper::makeQueryProcessorGroupsMessage(), printGroups);
            } },
        { "create-group", "GROUP", "create a group", "", 1, 1,
            [](Invocation& c) {
                if (!acceptGroupName(c))
                    return int(ExitUsage);
                return exchange(c, Identities::manager(),
                    ControlMessageHelper::makeCreateProcessorGroupMessage(utf8(c.args[0])), printNothing);
            } },
        { "delete-group", "GROUP", "delete a group with all its processors", "", 1, 1,
            [](Invocation& c) {
                return exchange(c, Identities::manager(),
                    ControlMessageHelper::makeDeleteProcessorGroupMessage(utf8(c.args[0])), printNothing);
            } },
        { "processors", "GROUP", "list the processors of a group", "", 1, 1,
            [](Invocation& c) {
                return exchange(
                    c, Identities::group(c.args[0]), ControlMessageHelper::makeQueryProcessorsMessage(), printList);
            } },
        { "create", "GROUP PROCESSOR TYPE", "create a processor",
            "The configuration comes from --config FILE (a Processor record as XML), or is one output stream\n"
            "given by --stream NAME --stream-address ADDRESS (e.g. tcp://127.0.0.1:*). TYPE is bare (HttpBridge)\n"
            "or names the plug-in (demo.Generator). For an HttpBridge the stream is the message type it posts,\n"
            "the address the URL, and --content-type TYPE its Content-Type (default application/octet-stream).",
            3, 3,
            [](Invocation& c) {
                zelmsg::Processor config;
                if (!processorConfig(c, config) || !acceptProcessor(c, config))
                    return int(ExitUsage);
                return createProcessor(c, config);
            } },
        { "delete", gp, "delete a processor; returns when it has stopped", "", 2, 2,
            [](Invocation& c) {
                return exchange(c, Identities::group(c.args[0]),
                    ControlMessageHelper::makeDeleteProcessorMessage(utf8(c.args[1])), printNothing);
            } },
        { "connect", gp + QStringLiteral(" STREAM [ADDRESS]"), "connect a processor's input to a stream",
            "Without ADDRESS the stream is resolved at the group's name service. --filter F (repeatable)\n"
            "subscribes the message types that begin with F; without filters everything comes in.\n"
            "--stream-group G resolves it in group G instead, --stream-host ADDRESS at another zelhost;\n"
            "a wildcard address (tcp://0.0.0.0:PORT) is then dialled at that zelhost's host. With keys, the\n"
            "processor learns that zelhost's public key from --stream-host ADDRESS#serverkey=KEY, else from\n"
            "--server-key; an ADDRESS given by hand may end in #serverkey=KEY the same way.",
            3, 4, connect },
        { "start", gp + QStringLiteral(" [STREAM]"), "start a processor's stream (all when none is named)", "", 2, 3,
            [](Invocation& c) {
                return exchange(c, processorIdentity(c.args),
                    ControlMessageHelper::makeStartStreamMessage(utf8(c.args.value(2))), printNothing);
            } },
        { "stop", gp + QStringLiteral(" [STREAM]"), "stop a processor's stream (all when none is named)", "", 2, 3,
            [](Invocation& c) {
                return exchange(c, processorIdentity(c.args),
                    ControlMessageHelper::makeStopStreamMessage(utf8(c.args.value(2))), printNothing);
            } },
        { "set", gp + QStringLiteral(" NAME VALUE"), "set a parameter of a processor", "", 4, 4,
            [](Invocation& c) {
                return exchange(c, processorIdentity(c.args),
                    ControlMessageHelper::makeSetParameterMessage(utf8(c.args[2]), utf8(c.args[3])), printNothing);
            } },
        { "get", gp + QStringLiteral(" NAME"), "print a parameter of a processor", "", 3, 3,
            [](Invocation& c) {
                return exchange(c, processorIdentity(c.args),
                    ControlMessageHelper::makeGetParameterMessage(utf8(c.args[2])), printValue);
            } },
        { "params", gp, "list the parameters of a processor", "", 2, 2,
            [](Invocation& c) {
                return exchange(
                    c, processorIdentity(c.args), ControlMessageHelper::makeGetParameterListMessage(), printList);
            } },
        { "set-group", "GROUP NAME VALUE", "publish a parameter to the processors of a group that take it", "", 3, 3,
            [](Invocation& c) {
                return exchange(c, Identities::group(c.args[0]),
                    ControlMessageHelper::makeSetParameterMessage(utf8(c.args[1]), utf8(c.args[2])), printNothing);
            } },
        { "sources", gp, "list a processor's inputs with their filters", "", 2, 2,
            [](Invocation& c) {
                return exchange(
                    c, processorIdentity(c.args), ControlMessageHelper::makeQuerySourcesMessage(), printSources);
            } },
        { "streams", gp, "list a processor's streams with their addresses", "", 2, 2,
            [](Invocation& c) {
                return exchange(
                    c, processorIdentity(c.args), ControlMessageHelper::makeQueryStreamsMessage(), printStreams);
            } },
        { "register", "GROUP STREAM PROCESSOR ADDRESS...", "register a stream at a group's name service", "", 4, -1,
            [](Invocation& c) {
                std::vector<std::string> addresses;
                for (QString const& a : c.args.mid(3))
                    addresses.push_back(utf8(a));
                return exchange(c, Identities::nameService(c.args[0]),
                    ControlMessageHelper::makeRegisterStreamMessage(utf8(c.args[1]), utf8(c.args[2]), addresses),
                    printNothing);
            } },
        { "resolve", "GROUP STREAM", "print the processor and addresses of a stream", "", 2, 2,
            [](Invocation& c) {
                return exchange(c, Identities::nameService(c.args[0]),
                    ControlMessageHelper::makeResolveStreamMessage(utf8(c.args[1])), printResolved);
            } },
        { "deregister", "GROUP STREAM", "remove a stream from a group's name service", "", 2, 2,
            [](Invocation& c) {
                return exchange(c, Identities::nameService(c.args[0]),
                    ControlMessageHelper::makeDeregisterStreamMessage(utf8(c.args[1])), printNothing);
            } },
        { "send", "IDENTITY FILE", "send the control record in FILE (XML) to any identity and print the reply",
            "IDENTITY is a routing name such as inproc://zel (the group manager), inproc://zel/GROUP,\n"
            "inproc://zel/GROUP/PROCESSOR or inproc://zel/GROUP/nameservice.",
            2, 2, send },
        { "apply", "FILE", "create what a pipeline file describes and is not there yet",
            "FILE is JSON: hosts, groups, processors, their parameters and the streams each takes in.\n"
            "Prints what it changed; a second run changes nothing. See README, \"Pipelines\".",
            1, 1, PipelineRun::applyCommand },
        { "down", "FILE", "delete what a pipeline file describes, in reverse order", "", 1, 1,
            PipelineRun::downCommand },
        { "graph", "[--rates] [--format dot]", "show every group, processor with its type, stream and connection",
            "--format text (the default) prints a tree; --format dot prints Graphviz input, for instance\n"
            "zelctl graph --format dot | dot -Tsvg > graph.svg. Inputs are matched to streams by address.\n"
            "--rates samples the processors' counters twice, a second apart, and labels each link with\n"
            "the messages per second its publisher sent.",
            0, 0, graph },
        { "top", "[GROUP] [--once] [--format json]",
            "show every processor's type, state and rates, refreshed every second",
            "One row per processor: in and out messages per second, in MB/s, messages per wake-up\n"
            "(BATCH) and the share of time in its handler (BUSY), from the processors' own counters\n"
            "(the parameter zel.stats). q or Ctrl-C quits. --once prints one snapshot after a second;\n"
            "--format json prints JSON instead of the table, one line per refresh.",
            0, 1, top },
        { "serve", "[--listen HOST:PORT]", "serve a web page with the running graph and the table of top",
            "--listen HOST:PORT (default 127.0.0.1:8080, loopback only; port 0 takes a free one). The\n"
            "page refreshes every second; the JSON behind it is at /api/top, the graph at\n"
            "/api/graph.svg and /api/graph.dot. Runs until Ctrl-C.",
            0, 0, serve },
        { "tap", "GROUP STREAM", "show the messages of a TCP stream until Ctrl-C",
            "--count N stops after N messages; --format hex (the default), text (one line each, bytes\n"
            "escaped) or raw (the data alone, for a pipe); --rate prints messages and bytes per second\n"
            "instead; --filter F (repeatable) takes only the types that begin with F.",
            2, 2, tap },
        { "record", "-o FILE GROUP STREAM [GROUP STREAM ...]", "write what streams carry into an MCAP file",
            "Until Ctrl-C, --duration S (seconds) or --count N (messages over all streams). --filter F\n"
            "(repeatable) takes only the types that begin with F; --compression zstd compresses the chunks,\n"
            "which close at --chunk-size bytes (default 1 MiB).\n"
            "Ends with messages, bytes and gaps (jumps in a demo Generator's numbering). See README,\n"
            "\"Recording and replay\".",
            2, -1, record },
        { "play", "FILE", "publish the streams of a recording again, registered under their names",
            "Checks the whole file first. --group G registers them in G instead of their own groups;\n"
            "--streams S,... plays only those; --speed X scales the recorded timing (0: as fast as possible);\n"
            "--loop starts again at the end; --bind ADDR (default tcp://127.0.0.1:*); --wait N holds the first\n"
            "message until each stream has N subscriptions. Deregisters at the end or on Ctrl-C.",
            1, 1, play },
        { "info", "FILE", "show a recording's channels, message counts, time span and size", "", 1, 1, mcapInfo, true },
        { "keygen", "NAME", "write a new key pair: NAME.key (secret, owner only) and NAME.pub",
            "The files hold one key each in Z85 text, as libzmq reads it. Give NAME.pub to the zelhosts that are\n"
            "to let this client in (their AuthorizedKeysFolder); use NAME.key with --key, or as a zelhost's\n"
            "ServerKeyFile, whose NAME.pub its clients then give as --server-key.",
            1, 1, [](Invocation& c) { return clientkeys::keygen(c.args[0]); }, true },
        { "plugins", "[DIR]", "list the plug-ins beside zelhost (or in DIR) with their processor types", "", 0, 1,
            plugins, true },
    };
}

} // namespace

std::vector<Command> const& commands()
{
    static std::vector<Command> const table = makeCommands();
    return table;
}

Command const* findCommand(QString const& name)
{
    for (Command const& command : commands()) {
        if (command.name == name)
            return &command;
    }
    return nullptr;
}
