#include "controlplanetest.h"

#include <thread>
#include <utility>
#include <vector>

using namespace cptest;
using namespace std::chrono_literals;

namespace {

class ProcessorControlTest : public ControlPlaneTest
{
protected:
    void SetUp() override
    {
        ControlPlaneTest::SetUp();
        ASSERT_EQ(createGroup("G"), "Success");
    }

    std::string ask(std::string const& processor, Record const& record)
    {
        return outcome(toProcessor("G", processor, record));
    }
};

// A configuration with one input and one output, as a Create message carries it.
zelmsg::Processor configWithSourceAndStream()
{
    zelmsg::Processor config = Helper::makeProcessorConfig("out", "inproc://out");
    zelmsg::DataSource source;
    source.SetAddress(QStringLiteral("inproc://in"));
    source.AppendFilter(QStringLiteral("a"));
    config.AppendDataSource(source);
    return config;
}

} // namespace

TEST_F(ProcessorControlTest, AnswersTheNineMessagesWithTheProcessorsResults)
{
    zelmsg::Processor const config = configWithSourceAndStream();
    auto const journal = lab.prepare("p", {});
    ASSERT_EQ(createProcessor("G", "p", "lab.Recorder", config), "Success");

    EXPECT_EQ(ask("p", Helper::makeGetParameterListMessage()), "Success: ") << "an empty list is no failure";
    EXPECT_EQ(
        ask("p", Helper::makeConnectStreamMessage("in", "tcp://127.0.0.1:5555", std::vector<std::string> { "a", "b" })),
        "Success");
    EXPECT_EQ(ask("p", Helper::makeStartStreamMessage("s")), "Success");
    EXPECT_EQ(ask("p", Helper::makeStartStreamMessage("")), "Success");
    EXPECT_EQ(ask("p", Helper::makeStopStreamMessage("s")), "Success");
    EXPECT_EQ(ask("p", Helper::makeSetParameterMessage("b", "2")), "Success: 2");
    EXPECT_EQ(ask("p", Helper::makeSetParameterMessage("a", "1")), "Success: 1");
    EXPECT_EQ(ask("p", Helper::makeGetParameterMessage("b")), "Success: 2");
    EXPECT_EQ(ask("p", Helper::makeGetParameterMessage("nope")), "Error: Cannot get parameter: nope");
    EXPECT_EQ(ask("p", Helper::makeGetParameterListMessage()), "Success: b,a") << "in the processor's order";
    EXPECT_EQ(ask("p", Helper::makeStartNewRecordingMessage("x")), "Success: x#1");

    auto const sources = toProcessor("G", "p", Helper::makeQuerySourcesMessage());
    ASSERT_EQ(outcome(sources), "Success");
    EXPECT_EQ(sources->GetMessageType(), Record::QuerySources);
    EXPECT_EQ(sources->GetDataSource(), config.GetDataSource());
    auto const streams = toProcessor("G", "p", Helper::makeQueryStreamsMessage());
    ASSERT_EQ(outcome(streams), "Success");
    EXPECT_EQ(streams->GetMessageType(), Record::QueryStreams);
    EXPECT_EQ(streams->GetDataStream(), config.GetDataStream());

    EXPECT_EQ(journal->calls(),
        QStringList({ "list", "connect in tcp://127.0.0.1:5555 a,b", "start s", "start ", "stop s", "set b=2",
            "set a=1", "get b", "get nope", "list", "record x", "sources", "streams" }));
}

TEST_F(ProcessorControlTest, ReportsEachRefusalWithItsTextAndGoesOn)
{
    Behaviour refusing;
    refusing.refuseAll = true;
    auto const journal = makeRecorder("G", "p", refusing);

    std::vector<std::pair<Record, std::string>> const cases {
        { Helper::makeConnectStreamMessage("in", "tcp://127.0.0.1:5555", "a"),
            "Error: Cannot connect to: in, tcp://127.0.0.1:5555" },
        { Helper::makeQuerySourcesMessage(), "Error: Cannot query sources" },
        { Helper::makeQueryStreamsMessage(), "Error: Cannot query streams" },
        { Helper::makeStartStreamMessage("s"), "Error: Cannot start stream: s" },
        { Helper::makeStopStreamMessage("s"), "Error: Cannot stop stream: s" },
        { Helper::makeSetParameterMessage("gain", "3"), "Error: Cannot set parameter: gain" },
        { Helper::makeGetParameterMessage("gain"), "Error: Cannot get parameter: gain" },
        { Helper::makeGetParameterListMessage(), "Error: Cannot get list of parameters" },
        { Helper::makeStartNewRecordingMessage("x"), "Error: Cannot start new recording: x" },
        // What other services serve is unknown here.
        { Helper::makeQueryProcessorsMessage(), "Error: Unknown message type" },
        { Helper::makeCreateProcessorGroupMessage("H"), "Error: Unknown message type" },
        { Helper::makeResolveStreamMessage("s"), "Error: Unknown message type" },
    };
    for (auto const& [request, expected] : cases) {
        auto const reply = toProcessor("G", "p", request);
        EXPECT_EQ(outcome(reply), expected);
        if (reply) {
            EXPECT_EQ(reply->GetMessageType(), request.GetMessageType()) << expected;
            EXPECT_EQ(reply->GetParameter(), request.GetParameter()) << "a failure writes no value: " << expected;
        }
    }
    EXPECT_EQ(journal->calls().size(), 9) << journal->calls().join('|').toStdString();
    EXPECT_EQ(ask("p", Helper::makeGetParameterListMessage()), "Error: Cannot get list of parameters");
}

TEST_F(ProcessorControlTest, AStopWaitingBesideARequestGoesFirst)
{
    auto const journal = makeRecorder("G", "p");
    std::string const processor = zeltest::processorIdentity("G", "p");

    client->send(processor, Helper::makeStartNewRecordingMessage("hold"));
    ASSERT_TRUE(zeltest::waitUntil([&] { return journal->holding.load(); }));
    // One client, so the router passes both on in this order: the request lies in the processor's
    // socket before the group sends the stop.
    client->send(processor, Helper::makeGetParameterListMessage());
    client->send(zeltest::groupIdentity("G"), Helper::makeDeleteProcessorMessage("p"));

    auto const held = client->receive();
    ASSERT_TRUE(held);
    EXPECT_EQ(held->source, processor);
    EXPECT_EQ(outcome(held->record), "Success: hold#1");
    auto const deleted = client->receive();
    ASSERT_TRUE(deleted);
    EXPECT_EQ(deleted->source, zeltest::groupIdentity("G"));
    EXPECT_EQ(outcome(deleted->record), "Success");

    EXPECT_TRUE(journal->destroyed);
    EXPECT_EQ(journal->calls(), QStringList({ "record hold" })) << "the waiting request was never served";
}

TEST_F(ProcessorControlTest, IdleProcessingRunsOnlyAfterAQuietPeriod)
{
    Behaviour idle;
    idle.idlePeriod = 20;
    auto const idler = makeRecorder("G", "idler", idle);
    auto const plain = makeRecorder("G", "plain");
    EXPECT_TRUE(zeltest::waitUntil([&] { return idler->idleRuns >= 3; }));

    // Requests wake the poll but are no quiet period: none of them runs idle processing.
    ASSERT_EQ(ask("idler", Helper::makeSetParameterMessage("idle", "5000")), "Success: 5000");
    int const before = idler->idleRuns;
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(ask("idler", Helper::makeGetParameterMessage("idle")), "Success: 5000");
    EXPECT_EQ(idler->idleRuns, before);

    ASSERT_EQ(ask("idler", Helper::makeSetParameterMessage("idle", "0")), "Success: 0");
    EXPECT_TRUE(zeltest::waitUntil([&] { return idler->idleRuns >= before + 100; })) << "back to back";

    ASSERT_EQ(ask("idler", Helper::makeSetParameterMessage("idle", "off")), "Success: off");
    int const stopped = idler->idleRuns;
    // Ten of the first periods in silence: nothing, the poll now waits without limit.
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(idler->idleRuns, stopped);
    EXPECT_EQ(plain->idleRuns, 0);
}
