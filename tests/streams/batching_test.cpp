#include "support/controlclient.h"
#include "support/polling.h"
#include "support/rawpeers.h"

#include <zel/controlmessagehelper.h>
#include <zel/environment.h>
#include <zel/plugin.h>
#include <zel/pluginmanager.h>
#include <zel/processorinfo.h>
#include <zel/streamprocessor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <map>
#include <mutex>
#include <thread>

namespace {

using Helper = zel::ControlMessageHelper;
using zeltest::outcome;
using WakeUp = std::vector<std::string>; // the data of each message one wake-up served

// What one probe did; written on its thread, read by the test.
struct Log
{
    std::vector<WakeUp> wakeUps() const
    {
        std::lock_guard<std::mutex> lock(mutex);
        return entries;
    }

    mutable std::mutex mutex;
    std::vector<WakeUp> entries;
    std::atomic<bool> holdNext { false };
    std::atomic<bool> holding { false };
    std::atomic<bool> go { false };
    std::atomic<bool> destroyed { false };
};

// Notes what each wake-up served. A message of type "hold", or the next one once holdNext is set,
// keeps it in its handler until the test says go or a stop lies in its control socket.
class Probe : public zel::StreamProcessor
{
public:
    Probe(zel::ProcessorInfo const& info, std::shared_ptr<Log> log)
        : StreamProcessor(info.configuration, info.processorName, info.groupName, info.addressPrefix)
        , log(std::move(log))
    { }
    ~Probe() override { log->destroyed = true; }

protected:
    void checkDataEvents() override
    {
        current.clear();
        StreamProcessor::checkDataEvents();
        std::lock_guard<std::mutex> lock(log->mutex);
        if (!current.empty())
            log->entries.push_back(current);
    }

    void handleMessage(zel::ByteStreamMessage& message, zel::ZmqByteStreamInSocket*) override
    {
        current.push_back(message.data.toStdString());
        if (message.type == "hold" || log->holdNext.exchange(false))
            hold();
    }

    bool setParameter(QString const&, QString const& value) override
    {
        setInputBatchSize(value.toInt());
        return true;
    }

private:
    void hold()
    {
        log->holding = true;
        zmq::pollitem_t item { controlSocket->handle(), 0, ZMQ_POLLIN, 0 };
        zeltest::waitUntil([&] { return log->go || zmq::poll(&item, 1, std::chrono::milliseconds(0)) > 0; });
        log->holding = false;
    }

    std::shared_ptr<Log> log;
    WakeUp current;
};

class ProbePlugin : public zel::Plugin
{
public:
    std::shared_ptr<Log> logOf(std::string const& name)
    {
        std::lock_guard<std::mutex> lock(mutex);
        auto& log = logs[name];
        if (!log)
            log = std::make_shared<Log>();
        return log;
    }

    QString getName() const override { return QStringLiteral("probe"); }
    QStringList getProcessorTypes() const override { return { QStringLiteral("Probe") }; }
    zel::ProcessorBase* createProcessor(zel::ProcessorInfo const& info) override
    {
        return new Probe(info, logOf(info.processorName));
    }

private:
    std::mutex mutex; // groups make processors on their own threads
    std::map<std::string, std::shared_ptr<Log>> logs;
};

class BatchingTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(plugins->registerPlugin(&plugin));
        environment = std::make_unique<zel::Environment>(plugins, zel::routerFrontendAddressDefault);
        client = std::make_unique<zeltest::ControlClient>(environment->getRouterFrontendAddress());
        ASSERT_EQ(outcome(client->request(zeltest::managerIdentity(), Helper::makeCreateProcessorGroupMessage("g"))),
            "Success");
    }

    void TearDown() override
    {
        client.reset();
        environment.reset();
        EXPECT_TRUE(zeltest::waitForNoRouter());
    }

    // A probe serving `batch` messages per wake-up, connected to `source`.
    std::shared_ptr<Log> makeProbe(std::string const& name, int batch, std::string const& source)
    {
        static int run = 0;
        std::string const stream = "inproc://batching-" + std::to_string(++run);
        EXPECT_EQ(
            outcome(client->request(zeltest::groupIdentity("g"),
                Helper::makeCreateProcessorMessage("probe.Probe", name, Helper::makeProcessorConfig(name, stream)))),
            "Success");
        EXPECT_EQ(ask(name, Helper::makeSetParameterMessage("batch", std::to_string(batch))),
            "Success: " + std::to_string(batch));
        EXPECT_EQ(ask(name, Helper::makeConnectStreamMessage("in", source, std::vector<std::string>())), "Success");
        return plugin.logOf(name);
    }

    std::string ask(std::string const& name, zelmsg::ControlMessage const& record)
    {
        return outcome(client->request(zeltest::processorIdentity("g", name), record));
    }

    ProbePlugin plugin; // outlives the plug-in manager, which does not own it
    std::shared_ptr<zel::PluginManager> plugins = std::make_shared<zel::PluginManager>();
    std::unique_ptr<zel::Environment> environment;
    std::unique_ptr<zeltest::ControlClient> client;
};

// The numbered messages among what the wake-ups served (holds and the flood carry no data).
struct Burst
{
    Burst() = default;
    explicit Burst(std::vector<WakeUp> const& all)
    {
        for (WakeUp const& wakeUp : all) {
            largest = std::max(largest, wakeUp.size());
            size_t const before = arrived.size();
            std::copy_if(wakeUp.begin(), wakeUp.end(), std::back_inserter(arrived),
                [](std::string const& data) { return !data.empty(); });
            wakeUps += arrived.size() > before;
        }
    }

    WakeUp arrived;
    int wakeUps = 0; // those that served any of them
    size_t largest = 0;
};

// Publishes empty messages as fast as it can from a thread of its own, until destroyed.
class Flood
{
public:
    explicit Flood(std::string const& address)
        : thread([this, address] {
            zmq::socket_t publisher = zeltest::makeSocket(zmq::socket_type::pub);
            publisher.bind(address);
            while (flooding) {
                zeltest::sendFrames(publisher, { "f", "" });
                ++sent;
            }
        })
    { }
    ~Flood()
    {
        flooding = false;
        thread.join();
    }

    std::atomic<std::uint64_t> sent { 0 };

private:
    std::atomic<bool> flooding { true };
    std::thread thread;
};

} // namespace

TEST_F(BatchingTest, QueuedMessagesTakeOneWakeUpEachUnlessBatchedAndArriveWholeAndInOrder)
{
    for (int const batch : { 1, 64 }) {
        int const burst = batch == 1 ? 2 : 200;
        std::string const name = "p" + std::to_string(batch);
        zmq::socket_t publisher = zeltest::makeSocket(zmq::socket_type::pub);
        publisher.bind("inproc://batching-source-" + name);
        auto const log = makeProbe(name, batch, "inproc://batching-source-" + name);

        // Holds go out until the probe sits in one, the subscription having reached the publisher;
        // the burst then lies queued whole before the probe goes on.
        ASSERT_TRUE(zeltest::waitUntil([&] {
            zeltest::sendFrames(publisher, { "hold", "" });
            return log->holding.load();
        }));
        WakeUp expected;
        for (int i = 0; i < burst; ++i) {
            expected.push_back(std::to_string(i));
            zeltest::sendFrames(publisher, { "n", expected.back() });
        }
        log->go = true;

        Burst seen;
        EXPECT_TRUE(
            zeltest::waitUntil([&] { return (seen = Burst(log->wakeUps())).arrived.size() >= expected.size(); }));
        EXPECT_EQ(seen.arrived, expected) << batch;
        EXPECT_EQ(seen.wakeUps, (burst + batch - 1) / batch) << batch;
        EXPECT_LE(seen.largest, size_t(batch));
    }
}

TEST_F(BatchingTest, DuringAFloodRequestsAreAnsweredAndAStopWaitsForOneBatchAtMost)
{
    Flood flood("inproc://batching-flood");
    auto const log = makeProbe("p", 64, "inproc://batching-flood");
    ASSERT_TRUE(zeltest::waitUntil([&] { return !log->wakeUps().empty(); }));
    // Draining until the socket is empty would never end in a flood, nor would the requests.
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(ask("p", Helper::makeGetParameterMessage("x")), "Error: Cannot get parameter: x");

    // Held in a handler while the flood fills the queue to its high-water mark, then stopped.
    log->holdNext = true;
    ASSERT_TRUE(zeltest::waitUntil([&] { return log->holding.load(); }));
    size_t const wakeUpsBefore = log->wakeUps().size();
    std::uint64_t const sentAtHold = flood.sent;
    ASSERT_TRUE(zeltest::waitUntil([&] { return flood.sent > sentAtHold + 4000; }));
    client->send(zeltest::groupIdentity("g"), Helper::makeDeleteProcessorMessage("p"));
    auto const deleted = client->receive();
    EXPECT_EQ(deleted ? outcome(deleted->record) : "no reply", "Success");

    EXPECT_TRUE(log->destroyed);
    auto const wakeUps = log->wakeUps();
    ASSERT_EQ(wakeUps.size(), wakeUpsBefore + 1) << "no wake-up after the one that held";
    EXPECT_EQ(wakeUps.back().size(), 64u) << "the held wake-up finished its batch, and no more";
}
