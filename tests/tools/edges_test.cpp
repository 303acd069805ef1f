// What a newcomer runs into first: the texts and exit codes of zelctl's answers, the follow-ups to
// a failed create, the plug-in search order, the socket limit, and the HttpBridge pipeline example.

#include "support/polling.h"
#include "support/zelctltest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

using zeltest::writeFile;
using Result = zeltest::ZelctlResult;

QString const bin = QStringLiteral(ZEL_BIN_DIR);

QByteArray readFile(QString const& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

using ZelctlEdges = zeltest::ZelctlTest;

} // namespace

// The system's own texts pass unchanged behind one prefix; zelctl adds what it knows on lines of
// their own.
TEST_F(ZelctlEdges, SystemTextsStandAsTheyAreWithFollowUpsOnLinesOfTheirOwn)
{
    for (QString const command : { "groups", "graph" }) {
        Result const none = run({ command });
        EXPECT_EQ(none.exitCode, 0) << none;
        EXPECT_EQ(none.out, "") << command.toStdString();
        EXPECT_EQ(none.err, "zelctl: no groups\n") << command.toStdString();
    }
    ok({ "create-group", "g" });

    auto const failedCreate = [](char const* type) {
        return "zelctl: Error: Processor of type '" + std::string(type) + "' could not be created.\n";
    };
    // The bare type comes first: once demo is loaded, it would be found.
    std::pair<char const*, testing::Matcher<std::string>> const types[] = {
        { "Generator",
            testing::Eq(failedCreate("Generator")
                + "zelctl: Generator is offered by demo, which is not loaded yet: write demo.Generator\n") },
        { "demo.Generater", testing::Eq(failedCreate("demo.Generater") + "zelctl: did you mean demo.Generator?\n") },
        { "HtpBridge", testing::Eq(failedCreate("HtpBridge") + "zelctl: did you mean HttpBridge?\n") },
        { "nosuch.Thing",
            testing::AllOf(
                StartsWith(failedCreate("nosuch.Thing") + "zelctl: no plug-in file nosuch.dll in " + ZEL_BIN_DIR),
                HasSubstr("\nzelctl: known types: QtBridge, HttpBridge, "), HasSubstr("demo.Generator")) },
    };
    for (auto const& [type, error] : types) {
        Result const r = run({ "create", "g", "p", type });
        EXPECT_EQ(r.exitCode, 1) << r;
        EXPECT_THAT(r.err, error) << type;
    }

    std::pair<QStringList, std::string> const texts[] = {
        { { "delete", "g", "nosuch" }, "zelctl: Error: A processor with the name 'nosuch' does not exists.\n" },
        { { "delete-group", "nosuch" }, "zelctl: Error: A group with the name 'nosuch' does not exists.\n" },
        // No interface has this address: the thread's failure is wrapped twice in the reply.
        { { "create", "g", "w", "demo.Relay", "--stream", "s", "--stream-address", "tcp://192.0.2.1:5555" },
            "zelctl: Error: Processor of type 'demo.Relay' could not be created: 'Thread failed: "
            "ControllableThread::run() failed: Cannot assign requested address'.\n"
            "zelctl: reason: Cannot assign requested address\n" },
    };
    for (auto const& [arguments, error] : texts) {
        Result const r = run(arguments);
        EXPECT_EQ(r.exitCode, 1) << r;
        EXPECT_EQ(r.err, error) << arguments.join(' ').toStdString();
    }
}

TEST_F(ZelctlEdges, AddressesZeroMqWouldMisreadAreRefusedBeforeAnythingIsSent)
{
    Result const port = run({ "--address", "tcp://127.0.0.1:99999", "groups" });
    EXPECT_EQ(port.exitCode, 2) << port;
    EXPECT_THAT(port.err,
        HasSubstr("'tcp://127.0.0.1:99999' is not an address to connect to: the port must be a "
                  "number from 1 to 65535"));
    ok({ "create-group", "g" });
    Result const name
        = run({ "create", "g", "p", "demo.Relay", "--stream", "s", "--stream-address", "tcp://localhost:*" });
    EXPECT_EQ(name.exitCode, 2) << name;
    EXPECT_THAT(name.err, HasSubstr("ZeroMQ binds interfaces and addresses, not host names: write 127.0.0.1"));
    EXPECT_EQ(run({ "processors", "g" }).out, "") << "nothing was sent";
}

// zelhost loads a plug-in from the first folder that has its file: its own, ZEL_PLUGIN_PATH's, the
// installed one. zelctl lists them in that order and names a file that is never loaded.
TEST(ZelctlPlugins, ListsWhatZelhostWouldLoadInItsSearchOrder)
{
    QTemporaryDir dir;
    ASSERT_TRUE(QFile::copy(bin + "/demo.dll", dir.filePath("demo.dll")));
    qputenv("ZEL_PLUGIN_PATH", dir.path().toUtf8());
    Result const found = zeltest::runZelctl({ "plugins" }, QString());
    qunsetenv("ZEL_PLUGIN_PATH");
    EXPECT_EQ(found.exitCode, 0) << found;
    std::string const beside = (bin + "/demo.dll").toStdString();
    std::string const extra = dir.filePath("demo.dll").toStdString();
    ASSERT_THAT(found.out, HasSubstr(beside));
    ASSERT_THAT(found.out, HasSubstr(extra));
    EXPECT_LT(found.out.find(beside), found.out.find(extra));
    EXPECT_THAT(found.err, HasSubstr("zelctl: " + extra + " is never loaded: " + beside + " comes first\n"));
}

// A file whose processors would take more sockets than one zelhost has is refused before anything
// is created.
TEST_F(ZelctlEdges, ApplyRefusesAFileThatWouldCrossTheSocketLimit)
{
    QByteArray processors;
    for (int i = 0; i < 600; ++i)
        processors += QByteArray(i ? "," : "") + "{ \"name\": \"p" + QByteArray::number(i)
            + "\", \"type\": \"demo.Relay\", \"stream\": \"s" + QByteArray::number(i)
            + "\", \"addresses\": [\"tcp://127.0.0.1:*\"] }\n";
    QTemporaryDir dir;
    QString const file
        = writeFile(dir, "big.json", "{ \"groups\": [{ \"name\": \"big\", \"processors\": [\n" + processors + "]}]}\n");
    Result const r = run({ "apply", file });
    EXPECT_EQ(r.exitCode, 2) << r;
    EXPECT_THAT(r.err,
        HasSubstr("the zelhost at --address would need about 4218 ZeroMQ sockets for 600 processors, more than "
                  "the 4095 one zelhost has: spread the groups over more zelhosts (--force applies it anyway)\n"));
    EXPECT_EQ(run({ "groups" }).out, "") << "nothing was created";
}

// The README's HttpBridge pattern: the bridge's stream is the message type it posts, so taking the
// stream of that name is no loop.
TEST_F(ZelctlEdges, TheWebPipelineExamplePostsToZelsink)
{
    QProcess sink;
    sink.start(bin + "/zelsink", QStringList());
    ASSERT_TRUE(sink.waitForStarted());
    QByteArray said;
    auto const sinkSays = [&](char const* text) {
        return zeltest::waitUntil([&] {
            sink.waitForReadyRead(100);
            said += sink.readAllStandardOutput();
            return said.contains(text);
        });
    };
    ASSERT_TRUE(sinkSays("\n")) << said.toStdString();
    QByteArray const url = said.mid(said.indexOf("http://")).trimmed();
    QByteArray example = readFile(QStringLiteral(ZEL_SOURCE_DIR "/examples/pipelines/web.json"));
    ASSERT_TRUE(example.contains("http://127.0.0.1:8080/"));
    example.replace("http://127.0.0.1:8080/", url);
    QTemporaryDir dir;
    Result const applied = run({ "apply", writeFile(dir, "web.json", example) });
    EXPECT_EQ(applied.exitCode, 0) << applied;
    EXPECT_THAT(applied.out, HasSubstr("connected processor web/post to stream numbers of group web"));
    EXPECT_TRUE(sinkSays("POSTs")) << said.toStdString();
    EXPECT_THAT(said.toStdString(), HasSubstr("content-type application/octet-stream"));
    ok({ "down", writeFile(dir, "web.json", example) });
    sink.kill();
    sink.waitForFinished();
}
