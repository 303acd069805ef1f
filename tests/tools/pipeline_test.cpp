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

using testing::Contains;
using testing::HasSubstr;
using testing::StartsWith;

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

    std::vector<std::string> ok(QStringList const& arguments)
    {
        zeltest::ZelctlResult const r = run(arguments);
        EXPECT_EQ(r.exitCode, 0) << arguments.join(' ').toStdString() << ": " << r;
        std::vector<std::string> lines;
        for (QString const& line : r.lines())
            lines.push_back(line.toStdString());
        return lines;
    }

    QString address;
    std::unique_ptr<zeltest::ZelhostProcess> host;
};

using Lines = std::vector<std::string>;

} // namespace

TEST_F(Pipelines, ApplyTwiceChangesNothingAndDownLeavesNoGroup)
{
    Lines const first = ok({ "apply", demoFile });
    EXPECT_EQ(first.back(), "8 changes");
    EXPECT_THAT(
        first, Contains(StartsWith("connected processor demo/counter to stream relayed of group demo at tcp://")));
    EXPECT_TRUE(zeltest::waitUntil([&] {
        return ok({ "get", "demo", "counter", "count" }) != Lines { "0" };
    })) << "messages flow through the pipeline";
    Lines const sources = ok({ "sources", "demo", "counter" });

    EXPECT_EQ(ok({ "apply", demoFile }), Lines { "nothing to change" });
    EXPECT_EQ(ok({ "sources", "demo", "counter" }), sources);
    // A value changed by hand is set back, and nothing else is touched.
    ok({ "set", "demo", "generator", "rate", "5" });
    EXPECT_EQ(ok({ "apply", demoFile }), Lines({ "set rate of processor demo/generator to 2000", "1 change" }));

    EXPECT_EQ(ok({ "down", demoFile }).back(), "4 changes");
    EXPECT_EQ(ok({ "groups" }), Lines {});
    EXPECT_EQ(ok({ "down", demoFile }), Lines { "nothing to delete" });

    // What the file did not make stays, and with it its group.
    ok({ "apply", demoFile });
    ok({ "create", "demo", "extra", "demo.Relay", "--stream", "extra", "--stream-address", "inproc://extra" });
    EXPECT_THAT(ok({ "down", demoFile }), Contains("kept group demo: it still holds extra"));
    EXPECT_EQ(ok({ "processors", "demo" }), Lines { "extra" });
}

TEST_F(Pipelines, ErrorsNameTheLineOfTheElement)
{
    struct Case
    {
        char const* json;
        int exitCode;
        std::string error;
    };
    std::vector<Case> const cases = {
        { "{\"groups\": [{\"name\": \"g\",\n \"processors\": [{\"name\": \"a\",\n \"type\": \"demo.Relay\", \"strem\": "
          "\"x\"}]}]}",
            2, ":3: unknown key \"strem\"" },
        { "{\"groups\": [\n{\"name\": \"g\"},\n]}", 2, ":3: " },
        { "{\"groups\": [{\"name\": \"g\", \"host\": \"far\"}]}", 2, ":1: no host \"far\" in \"hosts\"" },
        { "{\"groups\": [{\"name\": \"g\", \"processors\": [\n"
          "{\"name\": \"a\", \"type\": \"demo.Relay\", \"stream\": \"x\", \"addresses\": [\"inproc://x\"],\n"
          " \"takes\": [{\"stream\": \"y\"}]},\n"
          "{\"name\": \"b\", \"type\": \"demo.Relay\", \"stream\": \"y\", \"addresses\": [\"inproc://y\"],\n"
          " \"takes\": [{\"stream\": \"x\"}]}]}]}",
            2, ":5: stream x leads back to processor b in a loop" },
        { "{\"groups\": [{\"name\": \"g\", \"processors\": [\n{\"name\": \"a\", \"type\": \"demo.Nope\"}]}]}", 1,
            ":2: creating processor g/a: Error: Processor of type 'demo.Nope' could not be created." },
        { "{\"groups\": [{\"name\": \"h\", \"processors\": [{\"name\": \"a\", \"type\": \"demo.Relay\",\n"
          "\"stream\": \"s\", \"addresses\": [\"inproc://s\"], \"takes\": [\n{\"stream\": \"missing\"}]}]}]}",
            1, ":3: resolving stream missing of group h: Error: " },
    };
    QTemporaryDir dir;
    for (Case const& c : cases) {
        QFile file(dir.filePath(QStringLiteral("pipeline.json")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(c.json);
        file.close();
        zeltest::ZelctlResult const r = run({ "apply", file.fileName() });
        EXPECT_EQ(r.exitCode, c.exitCode) << c.json << "\n" << r;
        EXPECT_THAT(r.err, HasSubstr("pipeline.json" + c.error)) << c.json;
    }
}

TEST(StreamAddress, AWildcardIsDialledAtTheHostThatResolvedIt)
{
    struct Case
    {
        QVector<QString> registered;
        char const* frontend;
        bool otherHost;
        char const* dialled;
    };
    std::vector<Case> const cases = {
        { { "tcp://0.0.0.0:5000" }, "tcp://10.0.0.2:7000", true, "tcp://10.0.0.2:5000" },
        { { "tcp://[::]:5000" }, "tcp://10.0.0.2:7000", false, "tcp://10.0.0.2:5000" },
        { { "tcp://10.0.0.9:5000" }, "tcp://10.0.0.2:7000", true, "tcp://10.0.0.9:5000" },
        { { "inproc://a", "tcp://127.0.0.1:5" }, "tcp://h:1", false, "inproc://a" },
        { { "inproc://a", "tcp://127.0.0.1:5", "tcp://h:5" }, "tcp://h:1", true, "tcp://h:5" },
        { { "inproc://a" }, "tcp://h:1", true, "" },
        // Nothing better is known than what was registered.
        { { "tcp://0.0.0.0:5" }, "tcp://*:1", false, "tcp://0.0.0.0:5" },
    };
    for (Case const& c : cases)
        EXPECT_EQ(StreamAddress::dialable(c.registered, c.frontend, c.otherHost).toStdString(), c.dialled)
            << c.registered.first().toStdString() << " via " << c.frontend;
}
