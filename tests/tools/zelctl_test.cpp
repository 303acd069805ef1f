#include "support/polling.h"
#include "support/printers.h"
#include "support/rawpeers.h"
#include "support/zelctlrun.h"
#include "support/zelhostprocess.h"

#include <zel/controlmessagehelper.h>
#include <zel/zelmsg/controlmessage.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <chrono>
#include <csignal>
#include <memory>
#include <ostream>

using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

using namespace std::chrono_literals;

using Result = zeltest::ZelctlResult;

// One zelctl call with ZEL_ADDRESS set to `address` (unset for a null one).
Result zelctl(QStringList const& arguments, QString const& address) { return zeltest::runZelctl(arguments, address); }

QString freeAddress() { return QStringLiteral("tcp://127.0.0.1:%1").arg(zeltest::freeLoopbackPort()); }

QString writeFile(QTemporaryDir const& dir, QString const& name, QString const& text)
{
    QString const path = dir.filePath(name);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(text.toUtf8());
    return path;
}

} // namespace

TEST(Zelctl, HelpListsEveryCommand)
{
    // Scripts depend on these names.
    QStringList const commands
        = { "groups", "create-group", "delete-group", "processors", "create", "delete", "connect", "start", "stop",
              "set", "get", "params", "set-group", "sources", "streams", "register", "resolve", "deregister", "send" };
    Result const help = zelctl({ "--help" }, QString());
    ASSERT_EQ(help.exitCode, 0) << help;
    EXPECT_THAT(help.out, StartsWith("usage: zelctl "));
    for (QString const& name : commands)
        EXPECT_THAT(help.out, HasSubstr("\n  " + name.toStdString() + " ")) << name.toStdString();
    Result const create = zelctl({ "create", "-h" }, QString());
    EXPECT_EQ(create.exitCode, 0) << create;
    EXPECT_THAT(create.out, StartsWith("usage: zelctl create "));
}

TEST(Zelctl, MistakesExitTwoAndSilenceExitsThree)
{
    QTemporaryDir dir;
    // Nothing listens there: whatever was sent would end in a time-out, exit 3.
    QString const nobody = freeAddress();
    std::vector<std::pair<QStringList, std::string>> const cases = {
        { {}, "" }, // the help, but the call was wrong
        { { "frobnicate" }, "zelctl: unknown command frobnicate" },
        { { "set", "g", "p", "rate" }, "zelctl: usage: zelctl set GROUP PROCESSOR NAME VALUE" },
        { { "--timeout", "soon", "groups" }, "zelctl: --timeout takes milliseconds" },
        { { "create", "g", "p", "demo.Relay", "--config", writeFile(dir, "bad.xml", "<not a record") },
            "is not a processor configuration" },
        { { "create", "g", "p", "demo.Relay", "--stream", "s" }, "--stream and --stream-address go together" },
        { { "create", "g", "p", "HttpBridge", "--content-type", "text/plain" }, "--content-type goes with --stream" },
    };
    for (auto const& [arguments, error] : cases) {
        Result const r = zelctl(arguments, nobody);
        EXPECT_EQ(r.exitCode, 2) << arguments.join(' ').toStdString() << ": " << r;
        EXPECT_THAT(r.err, HasSubstr(error)) << arguments.join(' ').toStdString();
    }
    Result const noAddress = zelctl({ "groups" }, QString());
    EXPECT_EQ(noAddress.exitCode, 2) << noAddress;
    EXPECT_THAT(noAddress.err, HasSubstr("no address: give --address or set ZEL_ADDRESS"));

    Result const silent = zelctl({ "--address", nobody, "--timeout", "200", "groups" }, QString());
    EXPECT_EQ(silent.exitCode, 3) << silent;
    EXPECT_EQ(silent.err, "zelctl: zelhost at " + nobody.toStdString() + " does not answer: is it running?\n");
    // The unanswered request must not hold up the exit.
    EXPECT_LT(silent.took, 3s);
}

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

    static inline QString address;
    static inline std::unique_ptr<zeltest::ZelhostProcess> host;
    static inline std::string startFailure;
};

QRegularExpression const boundTcp(QStringLiteral("^tcp://127\\.0\\.0\\.1:[1-9][0-9]*$"));

} // namespace

TEST_F(ZelctlAgainstZelhost, EveryCommandDrivesAPipeline)
{
    ok({ "create-group", "pipe" });
    EXPECT_TRUE(ok({ "groups" }).contains(QStringLiteral("pipe")));

    ok({ "create", "pipe", "gen", "demo.Generator", "--stream", "numbers", "--stream-address", "tcp://127.0.0.1:*" });
    // A configuration file can say what the options cannot: here a stream with two addresses.
    zelmsg::Processor config = zel::ControlMessageHelper::makeProcessorConfig("counted", "inproc://zelctl-counted");
    config.GetDataStream().first().AppendAddress(QStringLiteral("tcp://127.0.0.1:*"));
    QTemporaryDir dir;
    ok({ "create", "pipe", "counter", "demo.Counter", "--config",
        writeFile(dir, "counter.xml", config.GetXmlString()) });
    EXPECT_THAT(ok({ "processors", "pipe" }), UnorderedElementsAre("gen", "counter"));
    ok({ "create", "pipe", "web", "HttpBridge", "--stream", "numbers", "--stream-address", "http://127.0.0.1:9/in",
        "--content-type", "text/plain" });
    EXPECT_EQ(ok({ "streams", "pipe", "web" }), QStringList { "numbers  http://127.0.0.1:9/in text/plain" });
    ok({ "delete", "pipe", "web" });
    EXPECT_THAT(ok({ "streams", "pipe", "counter" }).value(0).toStdString(),
        StartsWith("counted  inproc://zelctl-counted tcp://127.0.0.1:"));

    QStringList const resolved = ok({ "resolve", "pipe", "numbers" });
    ASSERT_EQ(resolved.size(), 2);
    EXPECT_EQ(resolved[0], "processor gen");
    QString const numbers = resolved[1];
    EXPECT_TRUE(boundTcp.match(numbers).hasMatch()) << numbers.toStdString();

    // Without an address the name service is asked.
    ok({ "connect", "pipe", "counter", "numbers", "--filter", "num", "--filter", "xyz" });
    EXPECT_EQ(ok({ "sources", "pipe", "counter" }), QStringList { numbers + "  filters: num,xyz" });

    EXPECT_EQ(ok({ "params", "pipe", "counter" }), QStringList({ "count", "bytes", "gaps", "reset", "batch" }));
    ok({ "set", "pipe", "gen", "rate", "1000" });
    EXPECT_EQ(ok({ "get", "pipe", "gen", "rate" }), QStringList { "1000" });
    auto counted = [] { return run({ "get", "pipe", "counter", "count" }).out; };
    std::string const none = counted();
    EXPECT_TRUE(zeltest::waitUntil([&] { return counted() != none; })) << "the filter num lets numbers through";

    auto sent = [] { return run({ "get", "pipe", "gen", "sent" }).out; };
    ok({ "stop", "pipe", "gen" });
    std::string const stoppedAt = sent();
    // One short look is enough to catch a Generator that goes on.
    EXPECT_FALSE(zeltest::waitUntil([&] { return sent() != stoppedAt; }, 300ms));
    ok({ "start", "pipe", "gen", "numbers" });
    EXPECT_TRUE(zeltest::waitUntil([&] { return sent() != stoppedAt; }));
    ok({ "set-group", "pipe", "rate", "5" });

    ok({ "register", "pipe", "s", "p", "tcp://10.0.0.1:1", "inproc://s" });
    EXPECT_EQ(ok({ "resolve", "pipe", "s" }), QStringList({ "processor p", "tcp://10.0.0.1:1", "inproc://s" }));
    ok({ "deregister", "pipe", "s" });
    Result const gone = run({ "resolve", "pipe", "s" });
    EXPECT_EQ(gone.exitCode, 1) << gone;
    EXPECT_EQ(gone.err, "zelctl: Error: 's' does not exist\n");

    QString const query
        = writeFile(dir, "query.xml", zel::ControlMessageHelper::makeQueryProcessorsMessage().GetXmlString());
    Result const reply = run({ "send", "inproc://zel/pipe", query });
    ASSERT_EQ(reply.exitCode, 0) << reply;
    EXPECT_THAT(reply.out, HasSubstr("counter"));

    ok({ "delete", "pipe", "gen" });
    EXPECT_EQ(ok({ "processors", "pipe" }), QStringList { "counter" });
    ok({ "delete-group", "pipe" });
    EXPECT_FALSE(ok({ "groups" }).contains(QStringLiteral("pipe")));
}

TEST_F(ZelctlAgainstZelhost, XmlPrintsTheWholeReplyEvenOfAFailure)
{
    ok({ "create-group", "xml" });
    // The record on stdout, its text on stderr.
    Result const failed = run({ "create-group", "xml", "--xml" });
    ASSERT_EQ(failed.exitCode, 1) << failed;
    zelmsg::ControlMessage error;
    ASSERT_TRUE(error.SetXmlString(QString::fromStdString(failed.out), false)) << failed.out;
    EXPECT_EQ(error.GetResultType(), zelmsg::ControlMessage::Error);
    EXPECT_EQ(failed.err, "zelctl: Error: " + error.GetMessageText().toStdString() + "\n");
    ok({ "delete-group", "xml" });
}

TEST(Zelctl, PluginsListsTheBridgesAndTheFilesBesideZelhost)
{
    // Nothing is asked of a running system, so no address is needed.
    Result const found = zelctl({ "plugins" }, QString());
    ASSERT_EQ(found.exitCode, 0) << found;
    EXPECT_THAT(found.out, StartsWith("base  (built in)\n  QtBridge\n  HttpBridge\n"));
    EXPECT_THAT(found.out, HasSubstr("/demo.dll\n  demo.Generator\n  demo.Relay\n  demo.Counter\n"));

    // A file that is no plug-in, and one zelhost would never load by its plug-in's name.
    QTemporaryDir dir;
    writeFile(dir, "junk.dll", "not a library");
    ASSERT_TRUE(QFile::copy(QStringLiteral(ZEL_BIN_DIR "/demo.dll"), dir.filePath("other.dll")));
    Result const odd = zelctl({ "plugins", dir.path() }, QString());
    EXPECT_EQ(odd.exitCode, 1) << odd;
    EXPECT_THAT(odd.out, HasSubstr("HttpBridge\ndemo  " + dir.filePath("other.dll").toStdString() + "\n"));
    EXPECT_THAT(odd.err, HasSubstr("zelctl: junk.dll is no ZEL plug-in: "));
    EXPECT_THAT(odd.err, HasSubstr("zelctl: other.dll holds the plug-in demo: zelhost looks for it in demo.dll\n"));
}

// The demo pipeline, with an inproc stream on the Counter and an HttpBridge behind it. The Counter
// sends nothing, so the bridge posts nothing: failed POSTs would flood zelhost's stderr.
TEST_F(ZelctlAgainstZelhost, GraphAndTapShowTheRunningPipeline)
{
    QString const tcp = QStringLiteral("tcp://127.0.0.1:*");
    ok({ "create-group", "view" });
    ok({ "create", "view", "generator", "demo.Generator", "--stream", "numbers", "--stream-address", tcp });
    ok({ "create", "view", "relay", "demo.Relay", "--stream", "relayed", "--stream-address", tcp });
    ok({ "create", "view", "counter", "demo.Counter", "--stream", "counted", "--stream-address", "inproc://view" });
    ok({ "create", "view", "poster", "HttpBridge", "--stream", "numbers", "--stream-address",
        QStringLiteral("http://127.0.0.1:%1/ingest").arg(zeltest::freeLoopbackPort()) });
    ok({ "connect", "view", "relay", "numbers" });
    ok({ "connect", "view", "counter", "relayed", "--filter", "rel", "--filter", "x\"y" });
    ok({ "connect", "view", "poster", "counted" });
    ok({ "set", "view", "generator", "rate", "200" });
    QString const numbers = ok({ "resolve", "view", "numbers" }).value(1);

    QString const dotText = ok({ "graph", "--format", "dot" }).join('\n');
    for (char const* expected : { R"("view/generator" [label="generator\nnumbers  tcp://127.0.0.1:)",
             R"("view/counter" [label="counter\ncounted  inproc://view"];)",
             R"("view/generator" -> "view/relay" [label="numbers"];)",
             R"("view/relay" -> "view/counter" [label="relayed\n[rel,x\"y]"];)",
             R"("view/counter" -> "view/poster" [label="counted"];)" })
        EXPECT_THAT(dotText.toStdString(), HasSubstr(expected));
    if (QString const dot = QStandardPaths::findExecutable(QStringLiteral("dot")); !dot.isEmpty()) {
        QProcess layout;
        layout.start(dot, { "-Tplain" });
        layout.write(dotText.toUtf8());
        layout.closeWriteChannel();
        ASSERT_TRUE(layout.waitForFinished(10000));
        EXPECT_EQ(layout.exitCode(), 0) << layout.readAllStandardError().toStdString();
        EXPECT_THAT(layout.readAllStandardOutput().toStdString(), HasSubstr("edge \"view/relay\" \"view/counter\""));
    }
    EXPECT_THAT(ok({ "graph" }),
        testing::IsSupersetOf({ QStringLiteral("view"), QStringLiteral("  relay"),
            "    input  " + numbers + "  from view/generator stream numbers  (everything)" }));

    Result const three = run({ "tap", "view", "numbers", "--count", "3", "--format", "text" });
    ASSERT_EQ(three.exitCode, 0) << three;
    ASSERT_EQ(three.lines().size(), 3) << three;
    for (QString const& line : three.lines())
        EXPECT_THAT(line.toStdString(), StartsWith("numbers  ")) << three;

    QProcess rate;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("ZEL_ADDRESS"), address);
    rate.setProcessEnvironment(env);
    rate.start(QStringLiteral(ZEL_BIN_DIR "/zelctl"), { "tap", "view", "relayed", "--rate" });
    ASSERT_TRUE(rate.waitForReadyRead(10000)) << rate.readAllStandardError().toStdString();
    EXPECT_THAT(rate.readLine().toStdString(), testing::MatchesRegex("[0-9]+ msg/s  [0-9]+ B/s\n"));
    ::kill(static_cast<pid_t>(rate.processId()), SIGINT);
    ASSERT_TRUE(rate.waitForFinished(10000));
    EXPECT_EQ(rate.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(rate.exitCode(), 0);

    Result const inproc = run({ "tap", "view", "counted" });
    EXPECT_EQ(inproc.exitCode, 1) << inproc;
    EXPECT_EQ(inproc.err, "zelctl: stream counted is published on inproc://view only; tap reaches TCP streams\n");
    ok({ "delete-group", "view" });
}

TEST_F(ZelctlAgainstZelhost, MistakesTheSystemWouldMeetWithSilenceAreRefusedUnlessForced)
{
    ok({ "create-group", "guards" });
    QTemporaryDir dir;
    QString const ftp = writeFile(
        dir, "ftp.xml", zel::ControlMessageHelper::makeProcessorConfig("s", "ftp://127.0.0.1/x").GetXmlString());
    QStringList const relay = { "create", "guards", "p", "demo.Relay", "--stream", "s", "--stream-address" };
    std::vector<std::pair<QStringList, std::string>> const cases = {
        { { "create-group", "" }, "a group needs a name" },
        { { "create-group", "a/b" }, "must not hold '/'" },
        { { "create-group", QString(230, 'x') }, "longer than ZeroMQ's 255 bytes" },
        { { "create", "guards", "nameservice", "demo.Relay" }, "a name the group itself uses" },
        { relay + QStringList { "tcp://127.0.0.1" }, "the port is missing" },
        { relay + QStringList { "udp://127.0.0.1:5" }, "it is none of tcp://HOST:PORT" },
        { { "create", "guards", "h", "HttpBridge", "--config", ftp }, "an HttpBridge posts to http(s)://" },
        { { "connect", "guards", "p", "s", "tcp://*:5555" }, "not an address to connect to" },
    };
    for (auto const& [arguments, error] : cases) {
        Result const r = run(arguments);
        EXPECT_EQ(r.exitCode, 2) << arguments.join(' ').toStdString() << ": " << r;
        EXPECT_THAT(r.err, testing::AllOf(HasSubstr(error), testing::EndsWith(" (--force sends it anyway)\n")));
    }
    EXPECT_TRUE(ok({ "processors", "guards" }).isEmpty()) << "nothing was sent";
    ok({ "create", "guards", "h", "HttpBridge" });
    // Forced, an address the bridge cannot connect to ends it without a reply, and zelctl says so.
    Result const forced = run({ "--timeout", "500", "connect", "guards", "h", "s", "tcp://*:5555", "--force" });
    EXPECT_EQ(forced.exitCode, 3) << forced;
    EXPECT_EQ(forced.err, "zelctl: processor 'h' in group 'guards' does not answer: busy, or ended by a failure\n");
    ok({ "delete-group", "guards" });
}

TEST_F(ZelctlAgainstZelhost, AnUnansweredRequestNamesWhatIsMissing)
{
    // A name this long makes internal endpoints longer than a fixed 128-byte buffer reads back.
    QString const group(200, 'g');
    ok({ "create-group", group });
    ok({ "create", group, "h", "HttpBridge" });
    EXPECT_EQ(ok({ "params", group, "h" }), QStringList()) << "a processor without parameters";
    std::string const answers = " (zelhost at " + address.toStdString() + " answers";
    std::vector<std::pair<QStringList, std::string>> const cases = {
        { { "processors", "nogroup" }, "zelctl: no group 'nogroup'" + answers + "; groups: " },
        { { "params", group, "nobody" }, "zelctl: no processor 'nobody' in group '" + group.toStdString() + "'\n" },
    };
    for (auto const& [arguments, error] : cases) {
        Result const r = run(QStringList { "--timeout", "500" } + arguments);
        EXPECT_EQ(r.exitCode, 1) << r;
        EXPECT_THAT(r.err, HasSubstr(error));
    }
    ok({ "delete-group", group });
}
