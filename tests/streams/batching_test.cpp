#include "controlplane/labplugin.h"

#include "support/environmenttest.h"

#include <zel/processorinfo.h>
#include <zel/streamprocessor.h>

#include <optional>
#include <string>

using namespace std::chrono_literals;
using namespace zeltest;
using cptest::Journal;

namespace {

// The plug-in "probe", its one probe "p" connected to the test's publisher, and what the test
// shares with it.
class BatchingTest : public EnvironmentTest, public zel::Plugin
{
public:
    Journal log; // the data each wake-up served, joined by commas
    std::atomic<int> batch { 1 };
    std::atomic<bool> go { false };

protected:
    void SetUp() override
    {
        ASSERT_TRUE(plugins->registerPlugin(this));
        EnvironmentTest::SetUp();
        publisher.bind("inproc://batching");
        ASSERT_EQ(create("p", "probe.Probe", Helper::makeProcessorConfig("p", "inproc://batchingp")), "Success");
        ASSERT_EQ(ask("p", Helper::makeConnectStreamMessage("in", "inproc://batching", std::vector<std::string>())),
            "Success");
    }

    QString getName() const override { return QStringLiteral("probe"); }
    QStringList getProcessorTypes() const override { return { QStringLiteral("Probe") }; }
    zel::ProcessorBase* createProcessor(zel::ProcessorInfo const& info) override;

    void publish(std::string const& type, int messages)
    {
        for (int i = 0; i < messages; ++i)
            sendFrames(publisher, { type, type == "n" ? std::to_string(i) : "" });
    }
    // Holds go out until the probe sits in one; its subscription has then reached the publisher.
    bool hold()
    {
        go = false;
        return waitUntil([&] {
            publish("hold", 1);
            return log.holding.load();
        });
    }

    zmq::socket_t publisher = makeSocket(zmq::socket_type::pub);
};

// Serves what the test's batch says and notes each wake-up. A message of type "hold" keeps it in
// its handler until the test says go or a stop is there.
class Probe : public zel::StreamProcessor
{
public:
    Probe(zel::ProcessorInfo const& info, BatchingTest& test)
        : StreamProcessor(info.configuration, info.processorName, info.groupName, info.addressPrefix)
        , test(test)
    { }

protected:
    void checkDataEvents() override
    {
        setInputBatchSize(test.batch);
        served.clear();
        StreamProcessor::checkDataEvents();
        if (!served.isEmpty())
            test.log.note(served.join(','));
    }

    void handleMessage(zel::ByteStreamMessage& message, zel::ZmqByteStreamInSocket*) override
    {
        served << QString::fromLatin1(message.data);
        if (message.type != "hold")
            return;
        test.log.holding = true;
        zmq::pollitem_t stop { controlSocket->handle(), 0, ZMQ_POLLIN, 0 };
        waitUntil([&] { return test.go || zmq::poll(&stop, 1, 0ms) > 0; });
        test.log.holding = false;
    }

private:
    BatchingTest& test;
    QStringList served;
};

zel::ProcessorBase* BatchingTest::createProcessor(zel::ProcessorInfo const& info) { return new Probe(info, *this); }

} // namespace

// One message per wake-up unless batched; a batch keeps the order, and during a flood neither a
// request nor a stop waits for more than one batch.
TEST_F(BatchingTest, BatchesKeepOrderAndHoldUpRequestsAndStopsForOneBatchAtMost)
{
    for (int const size : { 1, 64 }) {
        int const burst = size == 1 ? 2 : 200;
        batch = size;
        ASSERT_TRUE(hold());
        int const before = log.calls().size();
        publish("n", burst);
        go = true;
        QStringList arrived; // the numbered messages, and the wake-ups that served any
        int wakeUps = 0;
        EXPECT_TRUE(waitUntil([&] {
            arrived.clear();
            wakeUps = 0;
            for (QString const& wakeUp : log.calls().mid(before)) {
                QStringList const numbered = wakeUp.split(',', Qt::SkipEmptyParts);
                arrived += numbered;
                wakeUps += !numbered.isEmpty();
            }
            return arrived.size() >= burst;
        }));
        for (int i = 0; i < burst; ++i)
            EXPECT_EQ(arrived.value(i), QString::number(i)) << size;
        EXPECT_EQ(wakeUps, (burst + size - 1) / size) << size;
    }

    // An input drained until empty would hold the request up as long as the flood lasts.
    publish("f", 5000);
    client->send(processorIdentity("g", "p"), Helper::makeGetParameterListMessage());
    std::optional<ControlClient::Reply> reply;
    for (auto const end = std::chrono::steady_clock::now() + defaultDeadline;
         !reply && std::chrono::steady_clock::now() < end; reply = client->receive(0ms))
        publish("f", 1000);
    EXPECT_EQ(reply ? outcome(reply->record) : "no reply", "Error: Cannot get list of parameters");

    // Held with a full queue, then stopped: the held wake-up ends its batch, and none follows.
    ASSERT_TRUE(hold());
    int const before = log.calls().size();
    publish("f", 5000);
    client->send(groupIdentity("g"), Helper::makeDeleteProcessorMessage("p"));
    auto const deleted = client->receive();
    EXPECT_EQ(deleted ? outcome(deleted->record) : "no reply", "Success");
    ASSERT_EQ(log.calls().size(), before + 1);
    EXPECT_EQ(log.calls().last().count(',') + 1, 64);
}
