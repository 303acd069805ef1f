#include "support/polling.h"
#include "support/rawpeers.h"
#include "support/zelhostprocess.h"

#include <zel/controlmessagehelper.h>
#include <zel/environment.h>
#include <zel/zelmsg/controlmessage.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <chrono>
#include <csignal>
#include <memory>
#include <ostream>

// Readable QStrings in failure messages.
static void PrintTo(QString const& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }

using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

using namespace std::chrono_literals;

// What one zelctl call left behind.
struct Result
{
    int exitCode = -1; // -1: did not finish within its deadline
    std::string out;
    std::string err;
    std::chrono::milliseconds took {};

    QStringList lines() const { return QString::fromStdString(out).split(QLatin1Char('\n'), Qt::SkipEmptyParts); }
};

std::ostream& operator<<(std::ostream& os, Result const& r)
{
    return os << "exit " << r.exitCode << ", stdout [" << r.out << "], stderr [" << r.err << "]";
}

QProcessEnvironment environmentWithAddress(QString const& address)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    if (address.isNull())
        env.remove(QStringLiteral("ZEL_ADDRESS"));
    else
        env.insert(QStringLiteral("ZEL_ADDRESS"), address);
    return env;
}

// Starts zelctl without waiting, for tests that must serve its request meanwhile.
void startZelctl(QProcess& process, QStringList const& arguments, QString const& address)
{
    process.setProcessEnvironment(environmentWithAddress(address));
    process.start(QStringLiteral(ZEL_BIN_DIR "/zelctl"), arguments);
}

Result finish(QProcess& process, std::chrono::steady_clock::time_point started)
{
    Result result;
    if (process.waitForFinished(15000) && process.exitStatus() == QProcess::NormalExit)
        result.exitCode = process.exitCode();
    else
        process.kill();
    result.took = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - started);
    result.out = process.readAllStandardOutput().toStdString();
    result.err = process.readAllStandardError().toStdString();
    return result;
}

// One zelctl call with ZEL_ADDRESS set to `address` (unset for a null one).
Result zelctl(QStringList const& arguments, QString const& address)
{
    auto const started = std::chrono::steady_clock::now();
    QProcess process;
    startZelctl(process, arguments, address);
    return finish(process, started);
}

QString freeAddress() { return QStringLiteral("tcp://127.0.0.1:%1").arg(zeltest::freeLoopbackPort()); }

// The commands zelctl offers; scripts depend on these names.
QStringList const commandNames
    = { "groups", "create-group", "delete-group", "processors", "create", "delete", "connect", "start", "stop", "set",
          "get", "params", "set-group", "sources", "streams", "register", "resolve", "deregister", "send" };

} // namespace

// --- Without a system: help, usage errors, time-outs ----------------------------------------------

TEST(ZelctlHelp, ListsEveryCommandAndExplainsEach)
{
    for (QString const& flag : { QStringLiteral("--help"), QStringLiteral("-h") }) {
        Result const help = zelctl({ flag }, QString());
        ASSERT_EQ(help.exitCode, 0) << help;
        EXPECT_THAT(help.out, StartsWith("usage: zelctl ")) << help;
        for (QString const& name : commandNames)
            EXPECT_THAT(help.out, HasSubstr("\n  " + name.toStdString() + " ")) << name.toStdString();
        EXPECT_EQ(help.err, "");
    }
    for (QString const& name : commandNames) {
        Result const help = zelctl({ name, QStringLiteral("--help") }, QString());
        EXPECT_EQ(help.exitCode, 0) << help;
        EXPECT_THAT(help.out, StartsWith("usage: zelctl " + name.toStdString() + " ")) << help;
    }
    Result const create = zelctl({ QStringLiteral("create"), QStringLiteral("--help") }, QString());
    EXPECT_THAT(create.out, HasSubstr("--config FILE"));
    EXPECT_THAT(create.out, HasSubstr("--stream NAME --stream-address ADDRESS"));

    // Without a command the help goes out too, but the call was wrong.
    Result const bare = zelctl({}, QString());
    EXPECT_EQ(bare.exitCode, 2) << bare;
    EXPECT_THAT(bare.out, StartsWith("usage: zelctl "));
}

TEST(ZelctlUsage, MistakesExitTwoWithoutSendingAnything)
{
    QTemporaryDir dir;
    QString const garbage = dir.filePath(QStringLiteral("garbage.xml"));
    {
        QFile file(garbage);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("<not a record");
    }
    // An address where nothing listens: whatever was sent would end in a time-out, exit 3.
    QString const nobody = freeAddress();
    struct Case
    {
        QStringList arguments;
        std::string error;
    };
    std::vector<Case> const cases = {
        { { "frobnicate" }, "zelctl: unknown command frobnicate" },
        { { "create-group" }, "zelctl: usage: zelctl create-group GROUP" },
        { { "groups", "extra" }, "zelctl: usage: zelctl groups " },
        { { "set", "g", "p", "rate" }, "zelctl: usage: zelctl set GROUP PROCESSOR NAME VALUE" },
        { { "groups", "--frob" }, "zelctl: unknown option --frob" },
        { { "connect", "g", "p", "s", "--filter" }, "zelctl: --filter needs a value" },
        { { "--timeout", "soon", "groups" }, "zelctl: --timeout takes milliseconds" },
        { { "--timeout", "-5", "groups" }, "zelctl: --timeout takes milliseconds" },
        { { "create", "g", "p", "demo.Relay", "--config", dir.filePath("missing.xml") }, "zelctl: cannot read " },
        { { "create", "g", "p", "demo.Relay", "--config", garbage }, "is not a processor configuration" },
        { { "create", "g", "p", "demo.Relay", "--stream", "s" }, "--stream and --stream-address go together" },
        { { "create", "g", "p", "demo.Relay", "--stream-address", "inproc://s" }, "go together" },
        { { "send", "inproc://zel", garbage }, "holds no control record" },
        { { "--address", "nosuchprotocol://x", "groups" }, "Protocol not supported" },
    };
    for (Case const& c : cases) {
        Result const r = zelctl(QStringList { "--timeout", "200" } + c.arguments, nobody);
        EXPECT_EQ(r.exitCode, 2) << c.arguments.join(' ').toStdString() << ": " << r;
        EXPECT_THAT(r.err, HasSubstr(c.error)) << c.arguments.join(' ').toStdString();
        EXPECT_EQ(r.out, "") << c.arguments.join(' ').toStdString();
    }

    Result const noAddress = zelctl({ "groups" }, QString());
    EXPECT_EQ(noAddress.exitCode, 2) << noAddress;
    EXPECT_THAT(noAddress.err, HasSubstr("no address: give --address or set ZEL_ADDRESS"));
}

TEST(ZelctlTimeout, NothingListeningExitsThreeSoon)
{
    QString const nobody = freeAddress();
    Result const viaOption = zelctl({ "--address", nobody, "--timeout", "200", "groups" }, QString());
    EXPECT_EQ(viaOption.exitCode, 3) << viaOption;
    EXPECT_EQ(viaOption.err, "zelctl: no answer from " + nobody.toStdString() + " within 200 ms\n");
    EXPECT_EQ(viaOption.out, "");
    // The unanswered request must not hold up the exit.
    EXPECT_LT(viaOption.took, 3s);

    // A connect that has to resolve first times out in the resolve.
    Result const resolving = zelctl({ "--timeout", "200", "connect", "g", "p", "numbers" }, nobody);
    EXPECT_EQ(resolving.exitCode, 3) << resolving;
    EXPECT_LT(resolving.took, 3s);
}

// --- Against a zelhost process -------------------------------------------------------------------

namespace {

// One zelhost for the whole suite; each test works in groups of its own.
class ZelctlAgainstZelhost : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        address = freeAddress();
        host = std::make_unique<zeltest::ZelhostProcess>(QStringLiteral("EnvironmentAddress=%1\n").arg(address));
        if (!host->start() || host->waitForFirstLine() != QStringLiteral("zelhost: ready at ") + address)
            startFailure = host->standardError().toStdString();
    }

    static void TearDownTestSuite()
    {
        if (host && host->process().state() == QProcess::Running) {
            host->sendSignal(SIGTERM);
            host->waitForExit();
        }
        host.reset();
    }

    void SetUp() override { ASSERT_EQ(startFailure, "") << "zelhost did not start"; }

    static Result run(QStringList const& arguments) { return zelctl(arguments, address); }

    // Runs a command that has to succeed and gives its output lines.
    static QStringList ok(QStringList const& arguments)
    {
        Result const r = run(arguments);
        EXPECT_EQ(r.exitCode, 0) << arguments.join(' ').toStdString() << ": " << r;
        EXPECT_EQ(r.err, "") << arguments.join(' ').toStdString();
        return r.lines();
    }

    static QString writeFile(QTemporaryDir const& dir, QString const& name, QString const& text)
    {
        QString const path = dir.filePath(name);
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(text.toUtf8());
        return path;
    }

    static inline QString address;
    static inline std::unique_ptr<zeltest::ZelhostProcess> host;
    static inline std::string startFailure;
};

QRegularExpression const boundTcp(QStringLiteral("^tcp://127\\.0\\.0\\.1:[1-9][0-9]*$"));

} // namespace

TEST_F(ZelctlAgainstZelhost, GroupsAreCreatedListedAndDeleted)
{
    EXPECT_EQ(ok({ "create-group", "groups-a" }), QStringList());
    // The address may come as an option as well.
    Result const listed = zelctl({ "--address", address, "groups" }, QString());
    EXPECT_EQ(listed.exitCode, 0) << listed;
    EXPECT_TRUE(listed.lines().contains(QStringLiteral("groups-a"))) << listed;

    Result const twice = run({ "create-group", "groups-a" });
    EXPECT_EQ(twice.exitCode, 1) << twice;
    EXPECT_EQ(twice.err, "zelctl: Error: A group with the name 'groups-a' already exists.\n");
    EXPECT_EQ(twice.out, "");

    EXPECT_EQ(ok({ "delete-group", "groups-a" }), QStringList());
    EXPECT_FALSE(ok({ "groups" }).contains(QStringLiteral("groups-a")));
    Result const gone = run({ "delete-group", "groups-a" });
    EXPECT_EQ(gone.exitCode, 1) << gone;
    EXPECT_THAT(gone.err, StartsWith("zelctl: Error: A group with the name 'groups-a' does not"));
}

TEST_F(ZelctlAgainstZelhost, ProcessorsFromStreamOptionsAndFromAConfigurationFile)
{
    ok({ "create-group", "procs" });
    ok({ "create", "procs", "gen", "demo.Generator", "--stream", "numbers", "--stream-address", "tcp://127.0.0.1:*" });

    // A configuration file can say what the options cannot: here a stream with two addresses.
    zelmsg::Processor config
        = zel::ControlMessageHelper::makeProcessorConfig("counted", "inproc://zelctl-test-counted");
    config.GetDataStream().first().AppendAddress(QStringLiteral("tcp://127.0.0.1:*"));
    QTemporaryDir dir;
    ok({ "create", "procs", "counter", "demo.Counter", "--config",
        writeFile(dir, "counter.xml", config.GetXmlString()) });

    EXPECT_THAT(ok({ "processors", "procs" }), UnorderedElementsAre("gen", "counter"));

    QStringList const genStream = ok({ "streams", "procs", "gen" });
    ASSERT_EQ(genStream.size(), 1);
    QStringList const genFields = genStream.first().split(QStringLiteral("  "));
    ASSERT_EQ(genFields.size(), 2) << genStream.first().toStdString();
    EXPECT_EQ(genFields[0], "numbers");
    EXPECT_TRUE(boundTcp.match(genFields[1]).hasMatch()) << genFields[1].toStdString();

    QStringList const counterStream = ok({ "streams", "procs", "counter" });
    ASSERT_EQ(counterStream.size(), 1);
    EXPECT_THAT(
        counterStream.first().toStdString(), StartsWith("counted  inproc://zelctl-test-counted tcp://127.0.0.1:"));

    // A processor without any stream is refused by the system, not by zelctl.
    Result const bare = run({ "create", "procs", "bare", "demo.Relay" });
    EXPECT_EQ(bare.exitCode, 1) << bare;
    EXPECT_EQ(bare.err,
        "zelctl: Error: Processor of type 'demo.Relay' could not be created: 'No data stream "
        "configuration available'.\n");

    EXPECT_EQ(ok({ "delete", "procs", "gen" }), QStringList());
    EXPECT_EQ(ok({ "processors", "procs" }), QStringList { "counter" });
    Result const again = run({ "delete", "procs", "gen" });
    EXPECT_EQ(again.exitCode, 1) << again;
    EXPECT_THAT(again.err, HasSubstr("'gen'"));
    ok({ "delete-group", "procs" });
}

TEST_F(ZelctlAgainstZelhost, PipelineIsWiredAndDrivenByParameters)
{
    ok({ "create-group", "pipe" });
    ok({ "create", "pipe", "gen", "demo.Generator", "--stream", "numbers", "--stream-address", "tcp://127.0.0.1:*" });
    ok({ "create", "pipe", "counter", "demo.Counter", "--stream", "counted", "--stream-address", "tcp://127.0.0.1:*" });
    ok({ "create", "pipe", "relay", "demo.Relay", "--stream", "relayed", "--stream-address", "tcp://127.0.0.1:*" });

    QStringList const resolved = ok({ "resolve", "pipe", "numbers" });
    ASSERT_EQ(resolved.size(), 2);
    EXPECT_EQ(resolved[0], "processor gen");
    QString const numbers = resolved[1];
    EXPECT_TRUE(boundTcp.match(numbers).hasMatch()) << numbers.toStdString();

    // With an address and filters.
    ok({ "connect", "pipe", "counter", "numbers", numbers, "--filter", "num", "--filter", "xyz" });
    EXPECT_EQ(ok({ "sources", "pipe", "counter" }), QStringList { numbers + "  filters: num,xyz" });
    // Without an address: the name service is asked.
    ok({ "connect", "pipe", "relay", "numbers" });
    EXPECT_EQ(ok({ "sources", "pipe", "relay" }), QStringList { numbers + "  (everything)" });

    EXPECT_EQ(ok({ "params", "pipe", "counter" }), QStringList({ "count", "bytes", "gaps", "reset" }));
    EXPECT_EQ(ok({ "params", "pipe", "gen" }), QStringList({ "rate", "size", "type", "count", "sent" }));
    ok({ "set", "pipe", "gen", "rate", "1000" });
    EXPECT_EQ(ok({ "get", "pipe", "gen", "rate" }), QStringList { "1000" });

    auto counted = [] { return run({ "get", "pipe", "counter", "count" }).out; };
    std::string const none = counted();
    EXPECT_TRUE(zeltest::waitUntil([&] { return counted() != none; })) << "the filter num lets numbers through";

    auto sent = [] { return run({ "get", "pipe", "gen", "sent" }).out; };
    EXPECT_EQ(ok({ "stop", "pipe", "gen" }), QStringList());
    std::string const stoppedAt = sent();
    // A stopped Generator sends nothing: one short look is enough to catch one that goes on.
    EXPECT_FALSE(zeltest::waitUntil([&] { return sent() != stoppedAt; }, 300ms));
    EXPECT_EQ(ok({ "start", "pipe", "gen", "numbers" }), QStringList());
    EXPECT_TRUE(zeltest::waitUntil([&] { return sent() != stoppedAt; }));

    // Parameters a processor does not take come back as the system's error.
    Result const refusedSet = run({ "set", "pipe", "counter", "bogus", "1" });
    EXPECT_EQ(refusedSet.exitCode, 1);
    EXPECT_EQ(refusedSet.err, "zelctl: Error: Cannot set parameter: bogus\n");
    Result const refusedGet = run({ "get", "pipe", "counter", "bogus" });
    EXPECT_EQ(refusedGet.exitCode, 1);
    EXPECT_EQ(refusedGet.err, "zelctl: Error: Cannot get parameter: bogus\n");
    Result const refusedList = run({ "params", "pipe", "relay" });
    EXPECT_EQ(refusedList.exitCode, 1);
    EXPECT_EQ(refusedList.err, "zelctl: Error: Cannot get list of parameters\n");

    // The group publishes; none of the demo processors listens, so the rate stays.
    EXPECT_EQ(ok({ "set-group", "pipe", "rate", "5" }), QStringList());
    EXPECT_EQ(ok({ "get", "pipe", "gen", "rate" }), QStringList { "1000" });

    ok({ "delete-group", "pipe" });
}

TEST_F(ZelctlAgainstZelhost, NameServiceRegisterResolveDeregister)
{
    ok({ "create-group", "names" });
    ok({ "register", "names", "s", "p", "tcp://10.0.0.1:1", "inproc://s" });
    EXPECT_EQ(ok({ "resolve", "names", "s" }), QStringList({ "processor p", "tcp://10.0.0.1:1", "inproc://s" }));

    Result const twice = run({ "register", "names", "s", "q", "inproc://t" });
    EXPECT_EQ(twice.exitCode, 1) << twice;
    EXPECT_EQ(twice.err, "zelctl: Error: Error: 's' already exists\n");

    EXPECT_EQ(ok({ "deregister", "names", "s" }), QStringList());
    Result const gone = run({ "resolve", "names", "s" });
    EXPECT_EQ(gone.exitCode, 1) << gone;
    EXPECT_EQ(gone.err, "zelctl: Error: Error: 's' does not exist\n");
    EXPECT_EQ(run({ "deregister", "names", "s" }).exitCode, 1);

    // A connect to a stream nobody registered stops at the name service and connects nothing.
    ok({ "create", "names", "counter", "demo.Counter", "--stream", "counted", "--stream-address",
        "inproc://zelctl-names" });
    Result const unresolved = run({ "connect", "names", "counter", "s" });
    EXPECT_EQ(unresolved.exitCode, 1) << unresolved;
    EXPECT_EQ(unresolved.err, "zelctl: Error: Error: 's' does not exist\n");
    EXPECT_EQ(ok({ "sources", "names", "counter" }), QStringList());

    // Nor can it go anywhere with a stream that was registered without an address.
    QTemporaryDir dir;
    QString const file = writeFile(dir, "register.xml",
        zel::ControlMessageHelper::makeRegisterStreamMessage("empty", "p", std::vector<std::string>()).GetXmlString());
    ok({ "send", "inproc://zel/names/nameservice", file });
    Result const nowhere = run({ "connect", "names", "counter", "empty" });
    EXPECT_EQ(nowhere.exitCode, 1) << nowhere;
    EXPECT_EQ(nowhere.err, "zelctl: stream empty is registered without an address\n");
    EXPECT_EQ(ok({ "sources", "names", "counter" }), QStringList());
    ok({ "delete-group", "names" });
}

TEST_F(ZelctlAgainstZelhost, XmlPrintsTheWholeReply)
{
    ok({ "create-group", "xml" });
    Result const listed = run({ "--xml", "groups" });
    ASSERT_EQ(listed.exitCode, 0) << listed;
    zelmsg::ControlMessage reply;
    ASSERT_TRUE(reply.SetXmlString(QString::fromStdString(listed.out), false)) << listed.out;
    EXPECT_EQ(reply.GetMessageType(), zelmsg::ControlMessage::QueryGroups);
    EXPECT_EQ(reply.GetResultType(), zelmsg::ControlMessage::Success);
    EXPECT_TRUE(reply.GetParameter().split(QLatin1Char(',')).contains(QStringLiteral("xml")));

    // A failure too: the record on stdout, its text on stderr.
    Result const failed = run({ "create-group", "xml", "--xml" });
    ASSERT_EQ(failed.exitCode, 1) << failed;
    zelmsg::ControlMessage error;
    ASSERT_TRUE(error.SetXmlString(QString::fromStdString(failed.out), false)) << failed.out;
    EXPECT_EQ(error.GetResultType(), zelmsg::ControlMessage::Error);
    EXPECT_EQ(failed.err, "zelctl: Error: " + error.GetMessageText().toStdString() + "\n");
    ok({ "delete-group", "xml" });
}

TEST_F(ZelctlAgainstZelhost, SendDeliversARecordFromAFile)
{
    ok({ "create-group", "send" });
    ok({ "create", "send", "counter", "demo.Counter", "--stream", "counted", "--stream-address",
        "inproc://zelctl-send" });
    QTemporaryDir dir;
    QString const file
        = writeFile(dir, "query.xml", zel::ControlMessageHelper::makeQueryProcessorsMessage().GetXmlString());

    Result const sent = run({ "send", "inproc://zel/send", file });
    ASSERT_EQ(sent.exitCode, 0) << sent;
    zelmsg::ControlMessage reply;
    ASSERT_TRUE(reply.SetXmlString(QString::fromStdString(sent.out), false)) << sent.out;
    EXPECT_EQ(reply.GetResultType(), zelmsg::ControlMessage::Success);
    EXPECT_EQ(reply.GetParameter(), "counter");

    // The same record to a processor is a type it does not serve.
    Result const wrong = run({ "send", "inproc://zel/send/counter", file });
    EXPECT_EQ(wrong.exitCode, 1) << wrong;
    EXPECT_EQ(wrong.err, "zelctl: Error: Unknown message type\n");

    // Nobody has the identity: the router drops the request and zelctl gives up.
    Result const lost = run({ "--timeout", "300", "send", "inproc://zel/nosuchgroup", file });
    EXPECT_EQ(lost.exitCode, 3) << lost;
    Result const noGroup = run({ "--timeout", "300", "processors", "nosuchgroup" });
    EXPECT_EQ(noGroup.exitCode, 3) << noGroup;
    ok({ "delete-group", "send" });
}

// No service of the system answers with a Warning, so a stand-in behind a router of this process
// does; zelctl talks to it over TCP like to any other.
TEST(ZelctlWarning, WarningExitsOneWithItsText)
{
    zel::Environment environment("tcp://127.0.0.1:*");
    std::string const identity = "inproc://zel/warner";
    zmq::socket_t service = zeltest::connectService(identity);
    QTemporaryDir dir;
    QString const file = dir.filePath(QStringLiteral("start.xml"));
    ASSERT_TRUE(zel::ControlMessageHelper::makeStartStreamMessage("s").SaveXml(file));

    for (bool const xml : { false, true }) {
        QProcess process;
        QStringList arguments = { "send", QString::fromStdString(identity), file };
        if (xml)
            arguments.prepend(QStringLiteral("--xml"));
        auto const started = std::chrono::steady_clock::now();
        startZelctl(process, arguments, QString::fromStdString(environment.getRouterFrontendAddress()));

        auto const request = zeltest::receiveFrames(service);
        ASSERT_TRUE(request.has_value());
        ASSERT_EQ(request->size(), 3u);
        zelmsg::ControlMessage record;
        ASSERT_TRUE(record.SetXmlString(QString::fromStdString((*request)[2]), false));
        EXPECT_EQ(record.GetMessageType(), zelmsg::ControlMessage::Start);
        record.SetResultType(zelmsg::ControlMessage::Warning);
        record.SetMessageText(QStringLiteral("only half started"));
        zeltest::sendFrames(service, { "", (*request)[1], record.GetXmlString().toStdString() });

        Result const r = finish(process, started);
        EXPECT_EQ(r.exitCode, 1) << r;
        EXPECT_EQ(r.err, "zelctl: Warning: only half started\n");
        if (xml)
            EXPECT_THAT(r.out, HasSubstr("only half started"));
        else
            EXPECT_EQ(r.out, "");
    }
}
