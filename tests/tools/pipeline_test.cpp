#include "streamaddress.h"
#include "support/polling.h"
#include "support/rawpeers.h"
#include "support/zelctlrun.h"
#include "support/zelhostprocess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <memory>
#include <tuple>

using testing::EndsWith;
using testing::HasSubstr;

namespace {

QString const demoFile = QStringLiteral(ZEL_SOURCE_DIR "/examples/pipelines/demo.json");

// A zelhost of its own for each test: apply and down see only what the test made.
class Pipelines : public testing::Test
{
protected:
    void SetUp() override
    {
        address = QStringLiteral("tcp://127.0.0.1:%1").arg(zeltest::freeLoopbackPort());
        host = std::make_unique<zeltest::ZelhostProcess>(QStringLiteral("EnvironmentAddress=%1\n").arg(address));
        ASSERT_TRUE(host->start());
        ASSERT_EQ(host->waitForFirstLine(), "zelhost: ready at " + address) << host->standardError().toStdString();
    }

    zeltest::ZelctlResult run(QStringList const& arguments) { return zeltest::runZelctl(arguments, address); }

    std::string ok(QStringList const& arguments)
    {
        zeltest::ZelctlResult const r = run(arguments);
        EXPECT_EQ(r.exitCode, 0) << arguments.join(' ').toStdString() << ": " << r;
        return r.out;
    }

    QString address;
    std::unique_ptr<zeltest::ZelhostProcess> host;
};

} // namespace

TEST_F(Pipelines, ApplyTwiceChangesNothingAndDownLeavesNoGroup)
{
    std::string const first = ok({ "apply", demoFile });
    EXPECT_THAT(first, HasSubstr("connected processor demo/counter to stream relayed of group demo at tcp://"));
    EXPECT_THAT(first, EndsWith("\n8 changes\n"));
    EXPECT_TRUE(zeltest::waitUntil([&] {
        return ok({ "get", "demo", "counter", "count" }) != "0\n";
    })) << "messages flow through the pipeline";
    std::string const sources = ok({ "sources", "demo", "counter" });

    EXPECT_EQ(ok({ "apply", demoFile }), "nothing to change\n");
    EXPECT_EQ(ok({ "sources", "demo", "counter" }), sources);
    // A value changed by hand is set back, and nothing else is touched.
    ok({ "set", "demo", "generator", "rate", "5" });
    EXPECT_EQ(ok({ "apply", demoFile }), "set rate of processor demo/generator to 2000\n1 change\n");

    EXPECT_THAT(ok({ "down", demoFile }), EndsWith("\ndeleted group demo\n4 changes\n"));
    EXPECT_EQ(ok({ "groups" }), "");
    EXPECT_EQ(ok({ "down", demoFile }), "nothing to delete\n");

    // What the file did not make stays, and with it its group.
    ok({ "apply", demoFile });
    ok({ "create", "demo", "extra", "demo.Relay", "--stream", "extra", "--stream-address", "inproc://extra" });
    EXPECT_THAT(ok({ "down", demoFile }), HasSubstr("\nkept group demo: it still holds extra\n"));
    EXPECT_EQ(ok({ "processors", "demo" }), "extra\n");
}

TEST_F(Pipelines, ErrorsNameTheLineOfTheElement)
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
    };
    QTemporaryDir dir;
    for (auto const& [json, exitCode, error] : cases) {
        QFile file(dir.filePath(QStringLiteral("pipeline.json")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(json);
        file.close();
        zeltest::ZelctlResult const r = run({ "apply", file.fileName() });
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
    };
    for (auto const& [registered, frontend, otherHost, dialled] : cases)
        EXPECT_EQ(StreamAddress::dialable(registered, frontend, otherHost).toStdString(), dialled)
            << registered.first().toStdString() << " via " << frontend;
}
