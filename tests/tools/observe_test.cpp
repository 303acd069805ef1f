// Looking at a running system from outside: the statistics every processor answers, zelctl top and
// zelctl graph, against zelhost processes running the demo plug-in.

#include "support/polling.h"
#include "support/printers.h"
#include "support/zelctltest.h"
#include "support/zelhostprocess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <memory>
#include <vector>

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;

namespace {

using Result = zeltest::ZelctlResult;

// The demo pipeline, with the middle stream inproc: it lives inside zelhost, and only the
// processors' own counters can show it.
QString const pipeline = QStringLiteral(R"({ "groups": [ { "name": "demo", "processors": [
  { "name": "generator", "type": "demo.Generator", "stream": "numbers", "addresses": ["tcp://127.0.0.1:*"],
    "parameters": { "rate": 2000, "size": 64 } },
  { "name": "relay", "type": "demo.Relay", "stream": "relayed", "addresses": ["inproc://observe-relayed"],
    "takes": [{ "stream": "numbers" }] },
  { "name": "counter", "type": "demo.Counter", "stream": "counted", "addresses": ["tcp://127.0.0.1:*"],
    "takes": [{ "stream": "relayed" }] } ] } ] })");

class Observe : public zeltest::ZelctlTest
{
protected:
    void applyPipeline()
    {
        ok({ "apply", zeltest::writeFile(dir, QStringLiteral("pipeline.json"), pipeline.toUtf8()) });
    }

    // A processor's statistics, as any client reads them: the reserved parameter.
    QJsonObject stats(QString const& processor)
    {
        Result const r = ok({ "get", "demo", processor, "zel.stats" });
        return QJsonDocument::fromJson(QByteArray::fromStdString(r.out)).object();
    }

    static double messages(QJsonObject const& stats, QString const& list)
    {
        return stats[list].toArray().at(0)[QStringLiteral("messages")].toDouble();
    }
    static double bytes(QJsonObject const& stats, QString const& list)
    {
        return stats[list].toArray().at(0)[QStringLiteral("bytes")].toDouble();
    }

    // One snapshot of top as JSON, by processor name.
    QHash<QString, QJsonObject> topRows(QJsonObject& whole, QStringList const& extra = {})
    {
        Result const r = ok(QStringList { "top", "--once", "--format", "json" } + extra);
        whole = QJsonDocument::fromJson(QByteArray::fromStdString(r.out)).object();
        QHash<QString, QJsonObject> rows;
        for (QJsonValue const& row : whole[QStringLiteral("processors")].toArray())
            rows.insert(row[QStringLiteral("name")].toString(), row.toObject());
        return rows;
    }

    QTemporaryDir dir;
};

TEST_F(Observe, CountersRiseByExactlyWhatWasSent)
{
    // Built by hand so that the generator is paused before anything takes its stream.
    ok({ "create-group", "demo" });
    ok({ "create", "demo", "generator", "demo.Generator", "--stream", "numbers", "--stream-address",
        "tcp://127.0.0.1:*" });
    ok({ "stop", "demo", "generator" });
    ok({ "create", "demo", "relay", "demo.Relay", "--stream", "relayed", "--stream-address", "inproc://exact" });
    ok({ "create", "demo", "counter", "demo.Counter", "--stream", "counted", "--stream-address", "tcp://127.0.0.1:*" });
    ok({ "connect", "demo", "relay", "numbers" });
    ok({ "connect", "demo", "counter", "relayed" });
    EXPECT_EQ(stats("generator")[QStringLiteral("state")].toString(), "stopped");

    // Fewer than the queues hold, so that the relay's plain PUB cannot drop either.
    int const sent = 500;
    int const size = 64;
    double const before = messages(stats("generator"), "streams");
    for (QStringList const& set : { QStringList { "lossless", "1" }, { "size", QString::number(size) }, { "rate", "0" },
             { "count", QString::number(before + sent) } })
        ok(QStringList { "set", "demo", "generator" } + set);
    ok({ "start", "demo", "generator" });
    ASSERT_TRUE(zeltest::waitUntil([&] { return messages(stats("counter"), "inputs") >= sent; }))
        << run({ "get", "demo", "counter", "zel.stats" });

    QJsonObject const generator = stats("generator");
    QJsonObject const relay = stats("relay");
    QJsonObject const counter = stats("counter");
    double const frame = QByteArrayLiteral("numbers").size() + size; // type and data
    EXPECT_EQ(messages(generator, "streams"), before + sent);
    EXPECT_EQ(generator[QStringLiteral("state")].toString(), "running");
    EXPECT_EQ(messages(relay, "inputs"), sent);
    EXPECT_EQ(bytes(relay, "inputs"), sent * frame);
    EXPECT_EQ(messages(relay, "streams"), sent);
    EXPECT_EQ(relay[QStringLiteral("streams")].toArray().at(0)[QStringLiteral("name")].toString(), "relayed");
    EXPECT_EQ(messages(counter, "inputs"), sent);
    // The plug-ins' own counts agree.
    EXPECT_EQ(ok({ "get", "demo", "relay", "forwarded" }).out, QString::number(sent).toStdString() + "\n");
    EXPECT_EQ(ok({ "get", "demo", "counter", "count" }).out, QString::number(sent).toStdString() + "\n");
    EXPECT_EQ(bytes(counter, "inputs"), sent * (QByteArrayLiteral("relayed").size() + size));
    EXPECT_EQ(counter[QStringLiteral("type")].toString(), "demo.Counter");
    EXPECT_GE(counter[QStringLiteral("batches")].toDouble(), 1);
    EXPECT_LE(counter[QStringLiteral("batches")].toDouble(), sent);
    EXPECT_GT(counter[QStringLiteral("busyNs")].toDouble(), 0);
    EXPECT_GE(counter[QStringLiteral("lastMessageAgoNs")].toDouble(), 0);
    EXPECT_TRUE(generator[QStringLiteral("inputs")].toArray().at(0).isObject()); // its unconnected input
}

TEST_F(Observe, TopListsEveryProcessorWithTypeStateAndRates)
{
    applyPipeline();
    QJsonObject whole;
    QHash<QString, QJsonObject> rows = topRows(whole);
    ASSERT_EQ(rows.size(), 3) << QJsonDocument(whole).toJson().toStdString();
    EXPECT_EQ(rows["generator"]["type"].toString(), "demo.Generator");
    EXPECT_EQ(rows["relay"]["type"].toString(), "demo.Relay");
    EXPECT_EQ(rows["counter"]["type"].toString(), "demo.Counter");
    for (QJsonObject const& row : rows)
        EXPECT_EQ(row["state"].toString(), "running") << row["name"].toString().toStdString();
    EXPECT_GT(rows["generator"]["outMsgPerSec"].toDouble(), 0);
    // In and out of the inproc stream.
    EXPECT_GT(rows["relay"]["inMsgPerSec"].toDouble(), 0);
    EXPECT_GT(rows["relay"]["outMsgPerSec"].toDouble(), 0);
    EXPECT_GT(rows["counter"]["inMsgPerSec"].toDouble(), 0);
    EXPECT_GT(rows["counter"]["inMBPerSec"].toDouble(), 0);
    EXPECT_GE(rows["counter"]["batch"].toDouble(), 1);
    QJsonArray const links = whole["links"].toArray();
    ASSERT_EQ(links.size(), 2);
    for (QJsonValue const& link : links)
        EXPECT_GT(link["msgPerSec"].toDouble(), 0) << link["to"].toString().toStdString();
    std::vector<QString> addresses;
    for (QJsonValue const& link : links)
        addresses.push_back(link["address"].toString());
    EXPECT_THAT(addresses, Contains(QStringLiteral("inproc://observe-relayed")));

    // A stopped processor says so; the text table shows the same, one row each under a header.
    ok({ "stop", "demo", "generator" });
    rows = topRows(whole, { "demo" });
    EXPECT_EQ(rows["generator"]["state"].toString(), "stopped");
    QStringList const table = ok({ "top", "--once", "demo" }).lines();
    ASSERT_EQ(table.size(), 4) << table.join('\n').toStdString();
    EXPECT_THAT(table[0].toStdString(), AllOf(HasSubstr("TYPE"), HasSubstr("IN MSG/S"), HasSubstr("BUSY")));
    EXPECT_THAT(
        table.filter("generator").join('\n').toStdString(), AllOf(HasSubstr("demo.Generator"), HasSubstr("stopped")));
    EXPECT_EQ(ok({ "top", "--once", "nosuchgroup" }).lines().size(), 1);
}

TEST_F(Observe, GraphShowsTypesAndRatesOnEdges)
{
    applyPipeline();
    QString const tree = QString::fromStdString(ok({ "graph" }).out);
    EXPECT_THAT(tree.toStdString(),
        AllOf(HasSubstr("  generator  demo.Generator\n"), HasSubstr("  relay  demo.Relay\n"),
            HasSubstr("  counter  demo.Counter\n")));
    EXPECT_THAT(tree.toStdString(), testing::Not(HasSubstr("msg/s")));

    QRegularExpression const rate(QStringLiteral("([0-9]+) msg/s"));
    auto rates = [&](QString const& text) {
        std::vector<int> found;
        for (auto it = rate.globalMatch(text); it.hasNext();)
            found.push_back(it.next().captured(1).toInt());
        return found;
    };
    std::vector<int> const treeRates = rates(QString::fromStdString(ok({ "graph", "--rates" }).out));
    ASSERT_EQ(treeRates.size(), 2);
    EXPECT_THAT(treeRates, testing::Each(testing::Gt(0)));

    QString const dot = QString::fromStdString(ok({ "graph", "--rates", "--format", "dot" }).out);
    EXPECT_THAT(dot.toStdString(), HasSubstr("\"demo/generator\" [label=\"generator\\ndemo.Generator\\n"));
    std::vector<int> const edgeRates = rates(dot);
    ASSERT_EQ(edgeRates.size(), 2) << dot.toStdString();
    EXPECT_THAT(edgeRates, testing::Each(testing::Gt(0)));
}

TEST_F(Observe, AProcessorThatDoesNotAnswerIsListedWithWhatTheHostKnows)
{
    applyPipeline();
    // An address ZeroMQ refuses ends the processor's thread; its group still lists it, and zelhost
    // knows why it ended.
    ok({ "create", "demo", "broken", "demo.Relay", "--stream", "broken", "--stream-address", "tcp://127.0.0.1:*" });
    run({ "--force", "--timeout", "500", "connect", "demo", "broken", "numbers", "tcp://no-port" });

    QJsonObject whole;
    QHash<QString, QJsonObject> const rows = topRows(whole, { "--timeout", "300" });
    ASSERT_EQ(rows.size(), 4);
    EXPECT_EQ(rows["broken"]["problem"].toString(), "ended by a failure: Invalid argument");
    EXPECT_FALSE(rows["broken"].contains("type"));
    EXPECT_EQ(rows["counter"]["type"].toString(), "demo.Counter");
    EXPECT_GT(rows["counter"]["inMsgPerSec"].toDouble(), 0);
    EXPECT_THAT(ok({ "--timeout", "300", "top", "--once" }).out, HasSubstr("(ended by a failure: Invalid argument)"));
    EXPECT_THAT(ok({ "--timeout", "300", "graph" }).out, HasSubstr("  broken  (ended by a failure: Invalid argument)"));
}

TEST_F(Observe, TopRefusesWhatItCannotShow)
{
    EXPECT_EQ(run({ "top", "--format", "xml" }).exitCode, 2);
    EXPECT_EQ(run({ "top", "a", "b" }).exitCode, 2);
    Result const silent = zeltest::runZelctl({ "--timeout", "300", "top", "--once" }, zeltest::freeLoopbackAddress());
    EXPECT_EQ(silent.exitCode, 3) << silent;
}

} // namespace
