#include "services/labplugin.h"
#include "support/environmenttest.h"
#include "support/printers.h"

#include <zel/processorinfo.h>
#include <zel/streamprocessor.h>

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using namespace zeltest;

// The demo plug-in's processors in group "g".
class StreamProcessorTest : public EnvironmentTest
{
protected:
    std::optional<Record> request(std::string const& processor, Record const& record)
    {
        return client->request(processorIdentity("g", processor), record);
    }

    std::string connect(std::string const& address, std::vector<std::string> const& filters = {})
    {
        return ask("counter", Helper::makeConnectStreamMessage("in", address, filters));
    }

    // The filters of the Counter's one source.
    QVector<QString> filters()
    {
        auto const reply = request("counter", Helper::makeQuerySourcesMessage());
        return reply && reply->GetDataSource().size() == 1 ? reply->GetDataSource()[0].GetFilter()
                                                           : QVector<QString> { "?" };
    }

    void set(std::string const& processor, std::string const& name, std::string const& value)
    {
        EXPECT_EQ(ask(processor, Helper::makeSetParameterMessage(name, value)), "Success: " + value) << name;
    }

    std::uint64_t number(std::string const& processor, std::string const& name)
    {
        auto const reply = request(processor, Helper::makeGetParameterMessage(name));
        return reply ? reply->GetParameter().toULongLong() : 0;
    }

    std::string resolve(std::string const& stream)
    {
        auto const reply = client->request(nameServiceIdentity("g"), Helper::makeResolveStreamMessage(stream));
        if (outcome(reply) != "Success")
            return outcome(reply);
        return reply->GetProcessorName().toStdString() + " "
            + reply->GetStreamAddresses().toList().join(QLatin1Char(' ')).toStdString();
    }
};

} // namespace

TEST_F(StreamProcessorTest, BadStreamConfigurationsRefuseTheCreateAndLeaveNothing)
{
    zelmsg::Processor two = Helper::makeProcessorConfig("one", "tcp://127.0.0.1:*");
    two.AppendDataStream(Helper::makeProcessorConfig("two", "tcp://127.0.0.1:*").GetDataStream().first());
    zelmsg::Processor noAddress = Helper::makeProcessorConfig("one", "inproc://unused");
    noAddress.GetDataStream().first().ResetAddress();
    std::vector<std::pair<zelmsg::Processor, std::string>> const cases
        = { { {}, "No data stream configuration available" }, { two, "Multiple data streams are not supported" },
              { noAddress, "No data stream address available" } };
    for (auto const& [config, reason] : cases)
        EXPECT_EQ(create("p", "demo.Counter", config),
            "Error: Processor of type 'demo.Counter' could not be created: '" + reason + "'.");
    EXPECT_EQ(toGroup(Helper::makeQueryProcessorsMessage()), "Success: ");
    EXPECT_EQ(resolve("one"), "Error: Error: 'one' does not exist");
}

TEST_F(StreamProcessorTest, ConnectingTwiceMergesFiltersOverOneConnectionStopKeepsThemAndNoFiltersIsAll)
{
    ASSERT_EQ(create("counter", "demo.Counter", Helper::makeProcessorConfig("c", "inproc://st-c")), "Success");
    // Over TCP ZeroMQ itself ignores a second connect to one endpoint; over inproc it would not.
    // Verbose, so that a topic subscribed again shows up again, as "\1topic".
    std::string const address = "inproc://st-publisher";
    zmq::socket_t publisher = makeSocket(zmq::socket_type::xpub);
    publisher.set(zmq::sockopt::xpub_verbose, true);
    publisher.bind(address);
    auto const next = [&](std::chrono::milliseconds deadline = defaultDeadline) {
        auto const frames = receiveFrames(publisher, deadline);
        return frames ? frames->front() : "nothing";
    };
    EXPECT_EQ(connect(address, { "a", "b" }), "Success");
    EXPECT_EQ(next(), "\1a");
    EXPECT_EQ(next(), "\1b");
    EXPECT_EQ(connect(address, { "b", "c" }), "Success");
    EXPECT_EQ(next(), "\1c");
    EXPECT_EQ(filters(), QVector<QString>({ "a", "b", "c" }));

    // A second connection would repeat a, b and c, and a Stop that unsubscribes would send "\0a";
    // each reply came after its socket operations, so one short look is enough.
    EXPECT_EQ(ask("counter", Helper::makeStopStreamMessage("")), "Success");
    EXPECT_EQ(next(300ms), "nothing");
    // Stopped, it still counts what comes in, and only what begins with a filter.
    sendFrames(publisher, { "x", "22" });
    sendFrames(publisher, { "a-last", "4444" });
    EXPECT_TRUE(waitUntil([&] { return number("counter", "count") >= 1; }));
    EXPECT_EQ(number("counter", "bytes"), 4u);

    EXPECT_EQ(connect(address, {}), "Success");
    EXPECT_EQ(next(), "\1");
    EXPECT_EQ(filters(), QVector<QString>());
    sendFrames(publisher, { "zzz", "1" });
    EXPECT_TRUE(waitUntil([&] { return number("counter", "count") == 2; }));
}

TEST_F(StreamProcessorTest, StreamNameIsHeldFromStartToDelete)
{
    ASSERT_EQ(create("first", "demo.Counter", Helper::makeProcessorConfig("s", "inproc://st-first")), "Success");
    EXPECT_THAT(create("second", "demo.Counter", Helper::makeProcessorConfig("s", "inproc://st-second")),
        testing::HasSubstr(processorIdentity("g", "second") + ": Stream 's'could not be registered at nameservice'."));
    // The one that failed leaves the owner's entry alone, and its socket is closed.
    EXPECT_EQ(resolve("s"), "first inproc://st-first");
    EXPECT_EQ(create("third", "demo.Counter", Helper::makeProcessorConfig("t", "inproc://st-second")), "Success");

    EXPECT_EQ(remove("first"), "Success");
    EXPECT_EQ(resolve("s"), "Error: Error: 's' does not exist");
    EXPECT_EQ(create("fourth", "demo.Counter", Helper::makeProcessorConfig("s", "inproc://st-first")), "Success");
}

TEST_F(StreamProcessorTest, GeneratorToCounterOverTcpWithoutGaps)
{
    ASSERT_EQ(create("gen", "demo.Generator", Helper::makeProcessorConfig("numbers", "tcp://127.0.0.1:*")), "Success");
    ASSERT_EQ(create("counter", "demo.Counter", Helper::makeProcessorConfig("c", "inproc://st-c")), "Success");
    auto const reply = request("gen", Helper::makeQueryStreamsMessage());
    std::string const numbers = reply ? reply->GetDataStream().value(0).GetAddress().value(0).toStdString() : "";

    // Until the subscription has reached the Generator, what it sends is lost. So it first sends
    // small messages until the Counter has one; gaps count after the first message.
    set("gen", "size", "8");
    set("gen", "rate", "1000");
    EXPECT_EQ(connect(numbers), "Success");
    ASSERT_TRUE(waitUntil([&] { return number("counter", "count") > 0; }));
    EXPECT_EQ(ask("gen", Helper::makeStopStreamMessage("")), "Success");

    // Then 2000 messages of 100 bytes; small ones may still be on their way, so bytes tell the run.
    std::uint64_t const warmUp = number("gen", "sent");
    set("gen", "size", "100");
    set("gen", "count", std::to_string(warmUp + 2000));
    set("gen", "rate", "2000");
    EXPECT_EQ(ask("gen", Helper::makeStartStreamMessage("")), "Success");
    auto runMessages = [&]() -> std::uint64_t {
        // Count, bytes, count again: the bytes belong to the count when nothing came in between.
        std::uint64_t const count = number("counter", "count");
        std::uint64_t const bytes = number("counter", "bytes");
        return number("counter", "count") == count ? (bytes - 8 * count) / (100 - 8) : 0;
    };
    EXPECT_TRUE(waitUntil([&] { return runMessages() == 2000; })) << runMessages();
    EXPECT_EQ(number("counter", "gaps"), 0u);
    EXPECT_EQ(number("gen", "sent"), warmUp + 2000);

    // At full speed a plain PUB would drop most of a burst the one-per-wake-up Counter cannot take;
    // a lossless Generator waits for it instead.
    std::uint64_t const counted = number("counter", "count");
    set("counter", "batch", "1");
    set("gen", "lossless", "1");
    set("gen", "rate", "0");
    set("gen", "count", std::to_string(warmUp + 2000 + 20000));
    EXPECT_TRUE(waitUntil([&] { return number("counter", "count") == counted + 20000; }))
        << number("counter", "count") - counted;
    EXPECT_EQ(number("counter", "gaps"), 0u);
}

namespace {

// The plug-in "probe", its one probe "p" connected to the test's publisher, and what they share.
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

// Serves the test's batch size and notes each wake-up; "hold" keeps it busy until go or a stop.
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
    std::optional<FrontendClient::Reply> reply;
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
