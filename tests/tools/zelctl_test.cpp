#include "support/polling.h"
#include "support/rawpeers.h"
#include "support/zelhostprocess.h"

#include <zel/controlmessagehelper.h>
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

// One zelctl call with ZEL_ADDRESS set to `address` (unset for a null one).
Result zelctl(QStringList const& arguments, QString const& address)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("ZEL_ADDRESS"));
    if (!address.isNull())
        env.insert(QStringLiteral("ZEL_ADDRESS"), address);
    auto const started = std::chrono::steady_clock::now();
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(ZEL_BIN_DIR "/zelctl"), arguments);
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
    EXPECT_EQ(silent.err, "zelctl: no answer from " + nobody.toStdString() + " within 200 ms\n");
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
    Result const twice = run({ "create-group", "pipe" });
    EXPECT_EQ(twice.exitCode, 1) << twice;
    EXPECT_EQ(twice.err, "zelctl: Error: A group with the name 'pipe' already exists.\n");

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

    EXPECT_EQ(ok({ "params", "pipe", "counter" }), QStringList({ "count", "bytes", "gaps", "reset" }));
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
    EXPECT_EQ(gone.err, "zelctl: Error: Error: 's' does not exist\n");

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
    Result const listed = run({ "--xml", "groups" });
    ASSERT_EQ(listed.exitCode, 0) << listed;
    zelmsg::ControlMessage reply;
    ASSERT_TRUE(reply.SetXmlString(QString::fromStdString(listed.out), false)) << listed.out;
    EXPECT_EQ(reply.GetMessageType(), zelmsg::ControlMessage::QueryGroups);
    EXPECT_TRUE(reply.GetParameter().split(QLatin1Char(',')).contains(QStringLiteral("xml")));

    // The record on stdout, its text on stderr.
    Result const failed = run({ "create-group", "xml", "--xml" });
    ASSERT_EQ(failed.exitCode, 1) << failed;
    zelmsg::ControlMessage error;
    ASSERT_TRUE(error.SetXmlString(QString::fromStdString(failed.out), false)) << failed.out;
    EXPECT_EQ(error.GetResultType(), zelmsg::ControlMessage::Error);
    EXPECT_EQ(failed.err, "zelctl: Error: " + error.GetMessageText().toStdString() + "\n");
    ok({ "delete-group", "xml" });
}
