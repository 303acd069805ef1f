#include "streamaddress.h"
#include "support/polling.h"
#include "support/printers.h"
#include "support/rawpeers.h"
#include "support/zelctlrun.h"
#include "support/zelctltest.h"
#include "support/zelhostprocess.h"

#include <zel/controlmessagehelper.h>
#include <zel/version.h>
#include <zel/zelmsg/controlmessage.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <chrono>
#include <csignal>
#include <memory>
#include <tuple>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

using namespace std::chrono_literals;

using Result = zeltest::ZelctlResult;
using zeltest::writeFile;

QString const demoFile = QStringLiteral(ZEL_SOURCE_DIR "/examples/pipelines/demo.json");

using Zelctl = zeltest::ZelctlTest;

} // namespace

TEST(Tools, ExplainThemselvesAndExitZero)
{
    std::pair<QStringList, QStringList> const cases[] = {
        // The commands themselves are each run by the suite.
        { { "zelctl", "--help" }, { "usage: zelctl ", "\n  groups ", "\n  send " } },
        { { "zelctl", "create", "-h" }, { "usage: zelctl create " } },
        { { "zelhost", "--help" },
            { "usage: zelhost", "ZEL_CONFIG_DIR", "EnvironmentAddress", "ZEL_TRACE_FLAGS", "ZEL_PLUGIN_PATH" } },
        { { "zelhost", "--version" }, { "zelhost " ZEL_VERSION_STRING "\n" } },
        { { "zelctl", "--version" }, { "zelctl " ZEL_VERSION_STRING "\n" } },
        { { "zelsink", "--help" }, { "usage: zelsink" } },
    };
    for (auto const& [command, expected] : cases) {
        QProcess tool;
        tool.start(QStringLiteral(ZEL_BIN_DIR "/") + command.first(), command.mid(1));
        ASSERT_TRUE(tool.waitForFinished(10000)) << command.join(' ').toStdString();
        EXPECT_EQ(tool.exitCode(), 0) << command.join(' ').toStdString();
        QString const out = QString::fromUtf8(tool.readAllStandardOutput());
        for (QString const& text : expected)
            EXPECT_TRUE(out.contains(text)) << command.join(' ').toStdString() << ": " << out.toStdString();
    }
}

// A Generator feeding a Counter, and an HttpBridge behind the Counter. The Counter sends nothing, so
// the bridge posts nothing: failed POSTs would flood zelhost's stderr.
TEST_F(Zelctl, EveryCommandDrivesAPipelineThatGraphAndTapShow)
{
    ok({ "create-group", "pipe" });

    ok({ "create", "pipe", "gen", "demo.Generator", "--stream", "numbers", "--stream-address", "tcp://127.0.0.1:*" });
    // A configuration file can say what the options cannot: here a stream with two addresses.
    zelmsg::Processor config = zel::ControlMessageHelper::makeProcessorConfig("counted", "inproc://zelctl-counted");
    config.GetDataStream().first().AppendAddress(QStringLiteral("tcp://127.0.0.1:*"));
    QTemporaryDir dir;
    ok({ "create", "pipe", "counter", "demo.Counter", "--config",
        writeFile(dir, "counter.xml", config.GetXmlString().toUtf8()) });
    ok({ "create", "pipe", "web", "HttpBridge", "--stream", "counted", "--stream-address", "http://127.0.0.1:9/in",
        "--content-type", "text/plain" });
    EXPECT_THAT(ok({ "processors", "pipe" }).lines(), UnorderedElementsAre("gen", "counter", "web"));
    EXPECT_EQ(ok({ "streams", "pipe", "web" }).lines(), QStringList { "counted  http://127.0.0.1:9/in text/plain" });
    // The bound port is what is reported and registered.
    QString const streams = ok({ "streams", "pipe", "counter" }).lines().value(0);
    EXPECT_TRUE(streams.startsWith("counted  inproc://zelctl-counted ")) << streams.toStdString();
    EXPECT_TRUE(zeltest::isBoundLoopback(streams.section(' ', 3))) << streams.toStdString();
    EXPECT_EQ(
        ok({ "resolve", "pipe", "counted" }).lines(), QStringList { "processor counter" } + streams.split(' ').mid(2))
        << "every address is registered as bound";

    QStringList const resolved = ok({ "resolve", "pipe", "numbers" }).lines();
    ASSERT_EQ(resolved.size(), 2);
    EXPECT_EQ(resolved[0], "processor gen");
    QString const numbers = resolved[1];
    EXPECT_TRUE(zeltest::isBoundLoopback(numbers)) << numbers.toStdString();

    // Without an address the name service is asked.
    ok({ "connect", "pipe", "counter", "numbers", "--filter", "num", "--filter", "x\"y" });
    EXPECT_EQ(ok({ "sources", "pipe", "counter" }).lines(), QStringList { numbers + "  filters: num,x\"y" });
    ok({ "connect", "pipe", "web", "counted" });

    EXPECT_EQ(ok({ "params", "pipe", "counter" }).lines(), QStringList({ "count", "bytes", "gaps", "reset", "batch" }));
    ok({ "set", "pipe", "gen", "rate", "1000" });
    EXPECT_EQ(ok({ "get", "pipe", "gen", "rate" }).lines(), QStringList { "1000" });
    auto counted = [&] { return run({ "get", "pipe", "counter", "count" }).out; };
    std::string const none = counted();
    EXPECT_TRUE(zeltest::waitUntil([&] { return counted() != none; })) << "the filter num lets numbers through";

    QString const dotText = ok({ "graph", "--format", "dot" }).lines().join('\n');
    for (char const* expected : { R"("pipe/gen" [label="gen\ndemo.Generator\nnumbers  tcp://127.0.0.1:)",
             R"("pipe/counter" [label="counter\ndemo.Counter\ncounted  inproc://zelctl-counted)",
             R"("pipe/web" [label="web\nHttpBridge\ncounted  http://127.0.0.1:9/in text/plain"];)",
             R"("pipe/gen" -> "pipe/counter" [label="numbers\n[num,x\"y]"];)",
             R"("pipe/counter" -> "pipe/web" [label="counted"];)" })
        EXPECT_THAT(dotText.toStdString(), HasSubstr(expected));
    if (QString const dot = QStandardPaths::findExecutable(QStringLiteral("dot")); !dot.isEmpty()) {
        QProcess layout;
        layout.start(dot, { "-Tplain" });
        layout.write(dotText.toUtf8());
        layout.closeWriteChannel();
        ASSERT_TRUE(layout.waitForFinished(10000));
        EXPECT_EQ(layout.exitCode(), 0) << layout.readAllStandardError().toStdString();
        EXPECT_THAT(layout.readAllStandardOutput().toStdString(), HasSubstr("edge \"pipe/gen\" \"pipe/counter\""));
    }
    EXPECT_THAT(ok({ "graph" }).lines(),
        testing::IsSupersetOf({ QStringLiteral("pipe"), QStringLiteral("  counter  demo.Counter"),
            "    input  " + numbers + "  from pipe/gen stream numbers  filters: num,x\"y",
            QStringLiteral("    input  inproc://zelctl-counted  from pipe/counter stream counted  (everything)") }));

    Result const three = run({ "tap", "pipe", "numbers", "--count", "3", "--format", "text" });
    ASSERT_EQ(three.exitCode, 0) << three;
    ASSERT_EQ(three.lines().size(), 3) << three;
    for (QString const& line : three.lines())
        EXPECT_THAT(line.toStdString(), StartsWith("numbers  ")) << three;
    std::unique_ptr<QProcess> const rate = zeltest::startZelctl({ "tap", "pipe", "numbers", "--rate" }, host->address);
    ASSERT_TRUE(rate->waitForReadyRead(10000)) << rate->readAllStandardError().toStdString();
    EXPECT_THAT(rate->readLine().toStdString(), testing::MatchesRegex("[0-9]+ msg/s  [0-9]+ B/s\n"));
    ::kill(static_cast<pid_t>(rate->processId()), SIGINT);
    ASSERT_TRUE(rate->waitForFinished(10000));
    EXPECT_EQ(rate->exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(rate->exitCode(), 0);

    auto sent = [&] { return run({ "get", "pipe", "gen", "sent" }).out; };
    ok({ "stop", "pipe", "gen" });
    std::string const stoppedAt = sent();
    // One short look is enough to catch a Generator that goes on.
    EXPECT_FALSE(zeltest::waitUntil([&] { return sent() != stoppedAt; }, 300ms));
    ok({ "start", "pipe", "gen", "numbers" });
    EXPECT_TRUE(zeltest::waitUntil([&] { return sent() != stoppedAt; }));
    ok({ "set-group", "pipe", "rate", "5" });

    ok({ "register", "pipe", "s", "p", "inproc://s" });
    EXPECT_EQ(ok({ "resolve", "pipe", "s" }).lines(), QStringList({ "processor p", "inproc://s" }));
    Result const inproc = run({ "tap", "pipe", "s" });
    EXPECT_EQ(inproc.exitCode, 1) << inproc;
    EXPECT_EQ(inproc.err, "zelctl: stream s is published on inproc://s only; tap reaches TCP streams\n");
    ok({ "deregister", "pipe", "s" });
    Result const gone = run({ "resolve", "pipe", "s" });
    EXPECT_EQ(gone.exitCode, 1) << gone;
    EXPECT_EQ(gone.err, "zelctl: Error: 's' does not exist\n");

    QString const query
        = writeFile(dir, "query.xml", zel::ControlMessageHelper::makeQueryProcessorsMessage().GetXmlString().toUtf8());
    Result const reply = run({ "send", "inproc://zel/pipe", query });
    ASSERT_EQ(reply.exitCode, 0) << reply;
    EXPECT_THAT(reply.out, HasSubstr("counter"));

    ok({ "delete", "pipe", "gen" });
    EXPECT_THAT(ok({ "processors", "pipe" }).lines(), UnorderedElementsAre("counter", "web"));
    // The record on stdout, its text on stderr.
    Result const failed = run({ "create-group", "pipe", "--xml" });
    ASSERT_EQ(failed.exitCode, 1) << failed;
    zelmsg::ControlMessage error;
    ASSERT_TRUE(error.SetXmlString(QString::fromStdString(failed.out), false)) << failed.out;
    EXPECT_EQ(error.GetResultType(), zelmsg::ControlMessage::Error);
    EXPECT_EQ(failed.err, "zelctl: Error: " + error.GetMessageText().toStdString() + "\n");

    ok({ "delete-group", "pipe" });
    EXPECT_EQ(run({ "groups" }).err, "zelctl: no groups\n");
}

// Mistakes exit 2 before anything is sent, what the system refuses 1, silence 3.
TEST_F(Zelctl, EachKindOfMistakeHasItsExitCode)
{
    // A name this long makes internal endpoints longer than a fixed 128-byte buffer reads back.
    QString const group(200, 'g');
    std::string const answers = " (zelhost at " + host->address.toStdString() + " answers";
    ok({ "create-group", group });
    QTemporaryDir dir;
    QString const ftp = writeFile(dir, "ftp.xml",
        zel::ControlMessageHelper::makeProcessorConfig("s", "ftp://127.0.0.1/x").GetXmlString().toUtf8());
    QStringList const relay = { "create", group, "p", "demo.Relay", "--stream", "s", "--stream-address" };
    auto const refused = [](std::string const& why) -> testing::Matcher<std::string> {
        return testing::AllOf(HasSubstr(why), EndsWith(" (--force sends it anyway)\n"));
    };
    std::vector<std::tuple<QStringList, int, testing::Matcher<std::string>>> const cases = {
        { {}, 2, HasSubstr("") }, // the help, but the call was wrong
        { { "frobnicate" }, 2, HasSubstr("zelctl: unknown command frobnicate") },
        { { "set", "g", "p", "rate" }, 2, HasSubstr("zelctl: usage: zelctl set GROUP PROCESSOR NAME VALUE") },
        { { "--timeout", "soon", "groups" }, 2, HasSubstr("zelctl: --timeout takes milliseconds") },
        { { "create", "g", "p", "demo.Relay", "--config", writeFile(dir, "bad.xml", "<not a record") }, 2,
            HasSubstr("is not a processor configuration") },
        { { "create", "g", "p", "demo.Relay", "--stream", "s" }, 2,
            HasSubstr("--stream and --stream-address go together") },
        { { "create", "g", "p", "HttpBridge", "--content-type", "text/plain" }, 2,
            HasSubstr("--content-type goes with --stream") },
        { { "create-group", "" }, 2, refused("a group needs a name") },
        { { "create-group", "a/b" }, 2, refused("must not hold '/'") },
        { { "create-group", QString(230, 'x') }, 2, refused("longer than ZeroMQ's 255 bytes") },
        { { "create", group, "nameservice", "demo.Relay" }, 2, refused("a name the group itself uses") },
        { relay + QStringList { "tcp://127.0.0.1" }, 2, refused("the port is missing") },
        { relay + QStringList { "udp://127.0.0.1:5" }, 2, refused("it is none of tcp://HOST:PORT") },
        { { "create", group, "h", "HttpBridge", "--config", ftp }, 2, refused("an HttpBridge posts to http(s)://") },
        { { "connect", group, "p", "s", "tcp://*:5555" }, 2, refused("not an address to connect to") },
        { { "--timeout", "500", "processors", "nogroup" }, 1,
            HasSubstr("zelctl: no group 'nogroup'" + answers + "; groups: ") },
        { { "--timeout", "500", "params", group, "nobody" }, 1,
            HasSubstr("zelctl: no processor 'nobody' in group '" + group.toStdString() + "'\n") },
    };
    for (auto const& [arguments, exitCode, error] : cases) {
        Result const r = run(arguments);
        EXPECT_EQ(r.exitCode, exitCode) << arguments.join(' ').toStdString() << ": " << r;
        EXPECT_THAT(r.err, error) << arguments.join(' ').toStdString();
    }
    EXPECT_EQ(ok({ "processors", group }).out, "") << "nothing was sent";

    ok({ "create", group, "h", "HttpBridge" });
    // The bridge has no parameters, and says so with an Error.
    Result const params = run({ "params", group, "h" });
    EXPECT_EQ(params.exitCode, 1) << params;
    EXPECT_EQ(params.err, "zelctl: Error: Cannot get list of parameters\n");
    // Forced, an address the bridge cannot connect to ends it without a reply; zelctl says so, with
    // the reason zelhost kept.
    Result const forced = run({ "--timeout", "500", "connect", group, "h", "s", "tcp://*:5555", "--force" });
    EXPECT_EQ(forced.exitCode, 3) << forced;
    EXPECT_EQ(forced.err,
        "zelctl: processor 'h' in group '" + group.toStdString() + "' ended by a failure: Invalid argument\n");

    Result const noAddress = zeltest::runZelctl({ "groups" }, QString());
    EXPECT_EQ(noAddress.exitCode, 2) << noAddress;
    EXPECT_THAT(noAddress.err, HasSubstr("no address: give --address or set ZEL_ADDRESS"));
    QString const nobody = zeltest::freeLoopbackAddress();
    Result const silent = zeltest::runZelctl({ "--address", nobody, "--timeout", "1500", "groups" }, QString());
    EXPECT_EQ(silent.exitCode, 3) << silent;
    EXPECT_EQ(silent.err, "zelctl: zelhost at " + nobody.toStdString() + " does not answer: is it running?\n");
    // Within one time-out: neither a second question nor the unanswered request holds up the exit.
    EXPECT_LT(silent.took, 2500ms);
}

TEST(ZelctlPlugins, ListsTheBridgesAndTheFilesBesideZelhost)
{
    // Nothing is asked of a running system, so no address is needed.
    Result const found = zeltest::runZelctl({ "plugins" }, QString());
    ASSERT_EQ(found.exitCode, 0) << found;
    EXPECT_THAT(found.out, StartsWith("base  (built in)\n  QtBridge\n  HttpBridge\n"));
    EXPECT_THAT(found.out, HasSubstr("/demo.dll\n  demo.Generator\n  demo.Relay\n  demo.Counter\n"));

    // A file that is no plug-in, and one zelhost would never load by its plug-in's name.
    QTemporaryDir dir;
    writeFile(dir, "junk.dll", "not a library");
    ASSERT_TRUE(QFile::copy(QStringLiteral(ZEL_BIN_DIR "/demo.dll"), dir.filePath("other.dll")));
    Result const odd = zeltest::runZelctl({ "plugins", dir.path() }, QString());
    EXPECT_EQ(odd.exitCode, 1) << odd;
    EXPECT_THAT(odd.out, HasSubstr("HttpBridge\ndemo  " + dir.filePath("other.dll").toStdString() + "\n"));
    EXPECT_THAT(odd.err, HasSubstr("zelctl: junk.dll is no ZEL plug-in: "));
    EXPECT_THAT(odd.err, HasSubstr("zelctl: other.dll holds the plug-in demo: zelhost looks for it in demo.dll\n"));
}

TEST_F(Zelctl, ApplyTwiceChangesNothingAndDownLeavesNoGroup)
{
    std::string const first = ok({ "apply", demoFile }).out;
    EXPECT_THAT(first, HasSubstr("connected processor demo/counter to stream relayed of group demo at tcp://"));
    EXPECT_THAT(first, EndsWith("\n8 changes\n"));
    EXPECT_TRUE(zeltest::waitUntil([&] {
        return ok({ "get", "demo", "counter", "count" }).out != "0\n";
    })) << "messages flow through the pipeline";
    std::string const sources = ok({ "sources", "demo", "counter" }).out;

    EXPECT_EQ(ok({ "apply", demoFile }).out, "nothing to change\n");
    EXPECT_EQ(ok({ "sources", "demo", "counter" }).out, sources);
    // A value changed by hand is set back, and nothing else is touched.
    ok({ "set", "demo", "generator", "rate", "5" });
    EXPECT_EQ(ok({ "apply", demoFile }).out, "set rate of processor demo/generator to 2000\n1 change\n");

    EXPECT_THAT(ok({ "down", demoFile }).out, EndsWith("\ndeleted group demo\n4 changes\n"));
    EXPECT_EQ(run({ "groups" }).out, "");
    EXPECT_EQ(ok({ "down", demoFile }).out, "nothing to delete\n");

    // What the file did not make stays, and with it its group.
    ok({ "apply", demoFile });
    ok({ "create", "demo", "extra", "demo.Relay", "--stream", "extra", "--stream-address", "inproc://extra" });
    EXPECT_THAT(ok({ "down", demoFile }).out, HasSubstr("\nkept group demo: it still holds extra\n"));
    EXPECT_EQ(ok({ "processors", "demo" }).out, "extra\n");
}

TEST_F(Zelctl, PipelineErrorsNameTheLineOfTheElement)
{
    // The file, zelctl's exit code, and the end of "FILE:LINE: ..." on stderr.
    std::vector<std::tuple<char const*, int, std::string>> const cases = {
        { R"({"groups": [{"name": "g",
              "processors": [{"name": "a",
              "type": "demo.Relay", "strem": "x"}]}]})",
            2, ":3: unknown key \"strem\"" },
        { "{\"groups\": [\n{\"name\": \"g\"},\n]}", 2, ":3: " },
        { R"({"groups": [{"name": "g", "processors": [
              {"name": "a", "type": "demo.Relay", "stream": "x", "addresses": ["inproc://x"],
               "takes": [{"stream": "y"}]},
              {"name": "b", "type": "demo.Relay", "stream": "y", "addresses": ["inproc://y"],
               "takes": [{"stream": "x"}]}]}]})",
            2, ":5: stream x leads back to processor b in a loop" },
        { R"({"groups": [{"name": "g", "processors": [
              {"name": "a", "type": "demo.Nope"}]}]})",
            1, ":2: creating processor g/a: Error: Processor of type 'demo.Nope' could not be created." },
        { R"({"groups": [{"name": "h", "processors": [{"name": "a", "type": "demo.Relay",
              "stream": "s", "addresses": ["inproc://s"], "takes": [
              {"stream": "missing"}]}]}]})",
            1, ":3: resolving stream missing of group h: Error: " },
        { R"({"hosts": {"a": "tcp://10.0.0.1:7700"},
              "hostKeys": {"b": "b.pub"}, "groups": []})",
            2, ":2: no host \"b\" in \"hosts\"" },
        { R"({"hosts": {"a": "tcp://10.0.0.1:7700"},
              "hostKeys": {"a": "a.pub"}, "groups": []})",
            2, ":2: cannot read " },
    };
    QTemporaryDir dir;
    for (auto const& [json, exitCode, error] : cases) {
        Result const r = run({ "apply", writeFile(dir, "pipeline.json", json) });
        EXPECT_EQ(r.exitCode, exitCode) << json << "\n" << r;
        EXPECT_THAT(r.err, HasSubstr("pipeline.json" + error)) << json;
    }
}

TEST(StreamAddress, AWildcardIsDialledAtTheHostThatResolvedIt)
{
    // Registered addresses, the frontend they were resolved at, whether the taker is on another host.
    std::vector<std::tuple<QVector<QString>, char const*, bool, char const*>> const cases = {
        { { "tcp://0.0.0.0:5000" }, "tcp://10.0.0.2:7000", true, "tcp://10.0.0.2:5000" },
        { { "tcp://[::]:5000" }, "tcp://10.0.0.2:7000", false, "tcp://10.0.0.2:5000" },
        { { "tcp://10.0.0.9:5000" }, "tcp://10.0.0.2:7000", true, "tcp://10.0.0.9:5000" },
        { { "inproc://a", "tcp://127.0.0.1:5" }, "tcp://h:1", false, "inproc://a" },
        { { "inproc://a", "tcp://127.0.0.1:5", "tcp://h:5" }, "tcp://h:1", true, "tcp://h:5" },
        { { "inproc://a" }, "tcp://h:1", true, "" },
        // Nothing better is known than what was registered.
        { { "tcp://0.0.0.0:5" }, "tcp://*:1", false, "tcp://0.0.0.0:5" },
        // Another host's processor learns the publisher's server key from the frontend's.
        { { "tcp://0.0.0.0:5000" }, "tcp://10.0.0.2:7000#serverkey=K:1", true, "tcp://10.0.0.2:5000#serverkey=K:1" },
        { { "tcp://0.0.0.0:5000" }, "tcp://10.0.0.2:7000#serverkey=K:1", false, "tcp://10.0.0.2:5000" },
    };
    for (auto const& [registered, frontend, otherHost, dialled] : cases)
        EXPECT_EQ(StreamAddress::dialable(registered, frontend, otherHost).toStdString(), dialled)
            << registered.first().toStdString() << " via " << frontend;
}
