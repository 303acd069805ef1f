#include "support/controlclient.h"
#include "support/polling.h"
#include "support/rawpeers.h"

#include <zel/controlmessagehelper.h>
#include <zel/environment.h>
#include <zel/zelmsg/controlmessage.h>

#include <gtest/gtest.h>

#include <QRegularExpression>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

// Readable QStrings in failure messages.
static void PrintTo(QString const& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }

namespace {

using namespace std::chrono_literals;
using zel::ControlMessageHelper;
using zeltest::outcome;

// A configuration of one stream with the given addresses.
zelmsg::Processor streamConfig(std::string const& name, std::vector<std::string> const& addresses)
{
    zelmsg::Processor config = ControlMessageHelper::makeProcessorConfig(name, addresses.front());
    for (size_t i = 1; i < addresses.size(); ++i)
        config.GetDataStream().first().AppendAddress(QString::fromStdString(addresses[i]));
    return config;
}

QVector<QString> qstrings(std::vector<std::string> const& texts)
{
    return ControlMessageHelper::toQStringVector(texts);
}

// A publisher that shows what its subscribers subscribe: "\1topic" for a subscription, "\0topic"
// for its end. Verbose, so that a topic subscribed again shows up again.
class SubscriptionWatcher
{
public:
    explicit SubscriptionWatcher(std::string const& bindAddress = "tcp://127.0.0.1:*")
    {
        socket.set(zmq::sockopt::xpub_verbose, true);
        socket.bind(bindAddress);
        address = socket.get(zmq::sockopt::last_endpoint);
    }

    // The next subscription message, or nothing within the deadline.
    std::optional<std::string> next(std::chrono::milliseconds deadline = zeltest::defaultDeadline)
    {
        auto const frames = zeltest::receiveFrames(socket, deadline);
        if (!frames)
            return std::nullopt;
        return frames->front();
    }

    void publish(std::string const& type, std::string const& data) { zeltest::sendFrames(socket, { type, data }); }

    std::string address;

private:
    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::xpub);
};

std::string subscribe(std::string const& topic) { return '\1' + topic; }

// One Environment with the demo plug-in (found beside the test program) and a group "g".
class StreamProcessorTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(outcome(client->request(
                      zeltest::managerIdentity(), ControlMessageHelper::makeCreateProcessorGroupMessage(group))),
            "Success");
    }

    void TearDown() override
    {
        client.reset();
        environment.reset();
        EXPECT_TRUE(zeltest::waitForNoRouter());
    }

    std::string create(std::string const& name, std::string const& type, zelmsg::Processor const& config)
    {
        return outcome(client->request(
            zeltest::groupIdentity(group), ControlMessageHelper::makeCreateProcessorMessage(type, name, config)));
    }

    std::string remove(std::string const& name)
    {
        return outcome(
            client->request(zeltest::groupIdentity(group), ControlMessageHelper::makeDeleteProcessorMessage(name)));
    }

    std::string processors()
    {
        return outcome(
            client->request(zeltest::groupIdentity(group), ControlMessageHelper::makeQueryProcessorsMessage()));
    }

    std::optional<zelmsg::ControlMessage> ask(std::string const& processor, zelmsg::ControlMessage const& record)
    {
        return client->request(zeltest::processorIdentity(group, processor), record);
    }

    std::string connect(
        std::string const& processor, std::string const& address, std::vector<std::string> const& filters = {})
    {
        return outcome(ask(processor, ControlMessageHelper::makeConnectStreamMessage("in", address, filters)));
    }

    QVector<zelmsg::DataSource> sources(std::string const& processor)
    {
        auto const reply = ask(processor, ControlMessageHelper::makeQuerySourcesMessage());
        EXPECT_EQ(outcome(reply), "Success");
        return reply ? reply->GetDataSource() : QVector<zelmsg::DataSource>();
    }

    QVector<zelmsg::DataStream> streams(std::string const& processor)
    {
        auto const reply = ask(processor, ControlMessageHelper::makeQueryStreamsMessage());
        EXPECT_EQ(outcome(reply), "Success");
        return reply ? reply->GetDataStream() : QVector<zelmsg::DataStream>();
    }

    // A parameter the processor has to take; the reply echoes the value.
    void set(std::string const& processor, std::string const& name, std::string const& value)
    {
        EXPECT_EQ(
            outcome(ask(processor, ControlMessageHelper::makeSetParameterMessage(name, value))), "Success: " + value)
            << name;
    }

    std::uint64_t number(std::string const& processor, std::string const& name)
    {
        auto const reply = ask(processor, ControlMessageHelper::makeGetParameterMessage(name));
        EXPECT_EQ(outcome(reply).rfind("Success: ", 0), 0u) << outcome(reply);
        return reply ? reply->GetParameter().toULongLong() : 0;
    }

    std::string resolve(std::string const& stream)
    {
        auto const reply = client->request(
            zeltest::nameServiceIdentity(group), ControlMessageHelper::makeResolveStreamMessage(stream));
        if (outcome(reply) != "Success")
            return outcome(reply);
        return reply->GetProcessorName().toStdString() + " "
            + reply->GetStreamAddresses().toList().join(QLatin1Char(' ')).toStdString();
    }

    std::string const group = "g";
    std::unique_ptr<zel::Environment> environment = std::make_unique<zel::Environment>();
    std::unique_ptr<zeltest::ControlClient> client
        = std::make_unique<zeltest::ControlClient>(environment->getRouterFrontendAddress());
};

QRegularExpression const boundTcp(QStringLiteral("^tcp://127\\.0\\.0\\.1:[1-9][0-9]*$"));

} // namespace

TEST_F(StreamProcessorTest, BadStreamConfigurationsRefuseTheCreate)
{
    zelmsg::Processor none;
    zelmsg::Processor two = streamConfig("one", { "tcp://127.0.0.1:*" });
    two.AppendDataStream(streamConfig("two", { "tcp://127.0.0.1:*" }).GetDataStream().first());
    zelmsg::Processor noAddress = streamConfig("lonely", { "inproc://unused" });
    noAddress.GetDataStream().first().ResetAddress();

    std::string const refused = "Error: Processor of type 'demo.Counter' could not be created: '";
    EXPECT_EQ(create("p", "demo.Counter", none), refused + "No data stream configuration available'.");
    EXPECT_EQ(create("p", "demo.Counter", two), refused + "Multiple data streams are not supported'.");
    EXPECT_EQ(create("p", "demo.Counter", noAddress), refused + "No data stream address available'.");

    // The refusals left nothing behind: no processor, no stream name.
    EXPECT_EQ(processors(), "Success: ");
    EXPECT_EQ(resolve("one"), "Error: Error: 'one' does not exist");
    EXPECT_EQ(resolve("lonely"), "Error: Error: 'lonely' does not exist");
    EXPECT_EQ(create("p", "demo.Counter", streamConfig("one", { "inproc://streamtest-p" })), "Success");
}

TEST_F(StreamProcessorTest, WildcardAddressIsReportedAndRegisteredAsBound)
{
    ASSERT_EQ(
        create("gen", "demo.Generator", streamConfig("numbers", { "tcp://127.0.0.1:*", "inproc://streamtest-n" })),
        "Success");

    QVector<zelmsg::DataStream> const list = streams("gen");
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(list[0].GetName(), "numbers");
    QVector<QString> const addresses = list[0].GetAddress();
    ASSERT_EQ(addresses.size(), 2);
    EXPECT_TRUE(boundTcp.match(addresses[0]).hasMatch()) << addresses[0].toStdString();
    EXPECT_EQ(addresses[1], "inproc://streamtest-n");
    EXPECT_EQ(resolve("numbers"), "gen " + addresses.toList().join(QLatin1Char(' ')).toStdString());

    // It is the real endpoint: a subscriber there hears the Generator.
    zmq::socket_t subscriber = zeltest::makeSocket(zmq::socket_type::sub);
    subscriber.set(zmq::sockopt::subscribe, "");
    subscriber.connect(addresses[0].toStdString());
    auto const message = zeltest::receiveFrames(subscriber);
    ASSERT_TRUE(message.has_value());
    ASSERT_EQ(message->size(), 2u);
    EXPECT_EQ((*message)[0], "numbers");
}

TEST_F(StreamProcessorTest, ConnectToAKnownAddressMergesFiltersWithoutConnectingAgain)
{
    ASSERT_EQ(create("counter", "demo.Counter", streamConfig("counted", { "inproc://streamtest-counted" })), "Success");
    // Over TCP ZeroMQ itself ignores a SUB's second connect to one endpoint; over inproc it would
    // make a second pipe.
    SubscriptionWatcher publisher("inproc://streamtest-publisher");

    EXPECT_EQ(connect("counter", publisher.address, { "a", "b" }), "Success");
    EXPECT_EQ(publisher.next(), subscribe("a"));
    EXPECT_EQ(publisher.next(), subscribe("b"));

    EXPECT_EQ(connect("counter", publisher.address, { "b", "c" }), "Success");
    EXPECT_EQ(publisher.next(), subscribe("c"));
    // The same filters once more change nothing.
    EXPECT_EQ(connect("counter", publisher.address, { "b", "c" }), "Success");
    // A second connection would repeat a, b and c, and b subscribed again would show up too. One
    // short look is enough: each reply came after its socket operations.
    EXPECT_EQ(publisher.next(300ms), std::nullopt);

    QVector<zelmsg::DataSource> const list = sources("counter");
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(list[0].GetAddress(), QString::fromStdString(publisher.address));
    EXPECT_EQ(list[0].GetFilter(), qstrings({ "a", "b", "c" }));

    // Each message comes once, and only those that begin with a filter.
    publisher.publish("c-first", "1");
    publisher.publish("x", "22");
    publisher.publish("a-last", "4444");
    EXPECT_TRUE(zeltest::waitUntil([&] { return number("counter", "bytes") >= 5; }));
    EXPECT_EQ(number("counter", "bytes"), 5u);
    EXPECT_EQ(number("counter", "count"), 2u);
}

TEST_F(StreamProcessorTest, EmptyFilterListSubscribesEverythingForGood)
{
    ASSERT_EQ(create("counter", "demo.Counter", streamConfig("counted", { "inproc://streamtest-counted" })), "Success");
    SubscriptionWatcher publisher;

    EXPECT_EQ(connect("counter", publisher.address, { "a" }), "Success");
    EXPECT_EQ(publisher.next(), subscribe("a"));
    EXPECT_EQ(connect("counter", publisher.address, {}), "Success");
    EXPECT_EQ(publisher.next(), subscribe(""));
    QVector<zelmsg::DataSource> list = sources("counter");
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(list[0].GetFilter(), QVector<QString>());

    publisher.publish("anything", "1");
    EXPECT_TRUE(zeltest::waitUntil([&] { return number("counter", "count") == 1; }));

    // A later filter is recorded and subscribed, but takes nothing away.
    EXPECT_EQ(connect("counter", publisher.address, { "b" }), "Success");
    EXPECT_EQ(publisher.next(), subscribe("b"));
    list = sources("counter");
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(list[0].GetFilter(), qstrings({ "b" }));
    publisher.publish("zzz", "1");
    EXPECT_TRUE(zeltest::waitUntil([&] { return number("counter", "count") == 2; }));
}

TEST_F(StreamProcessorTest, StopKeepsSubscriptionsAndInput)
{
    ASSERT_EQ(create("counter", "demo.Counter", streamConfig("counted", { "inproc://streamtest-counted" })), "Success");
    SubscriptionWatcher publisher;
    EXPECT_EQ(connect("counter", publisher.address, { "t" }), "Success");
    EXPECT_EQ(publisher.next(), subscribe("t"));

    EXPECT_EQ(outcome(ask("counter", ControlMessageHelper::makeStopStreamMessage(""))), "Success");
    // An unsubscribe would travel the way the subscription came; the Stop's reply came after it.
    EXPECT_EQ(publisher.next(300ms), std::nullopt);
    publisher.publish("t", "1");
    EXPECT_TRUE(zeltest::waitUntil([&] { return number("counter", "count") == 1; }));

    EXPECT_EQ(outcome(ask("counter", ControlMessageHelper::makeStartStreamMessage("other"))), "Success");
    publisher.publish("t", "1");
    EXPECT_TRUE(zeltest::waitUntil([&] { return number("counter", "count") == 2; }));
    // Start and Stop flip the processor's flag, not its stream's record.
    QVector<zelmsg::DataStream> const list = streams("counter");
    ASSERT_EQ(list.size(), 1);
    EXPECT_FALSE(list[0].IsRunningSet());
}

TEST_F(StreamProcessorTest, StreamNameIsHeldFromStartToDelete)
{
    ASSERT_EQ(create("first", "demo.Counter", streamConfig("s", { "inproc://streamtest-first" })), "Success");
    EXPECT_EQ(resolve("s"), "first inproc://streamtest-first");

    EXPECT_EQ(create("second", "demo.Counter", streamConfig("s", { "inproc://streamtest-second" })),
        "Error: Processor of type 'demo.Counter' could not be created: 'Thread failed: ControllableThread::run() "
        "failed: inproc://zel/g/second: Stream 's'could not be registered at nameservice'.");
    EXPECT_EQ(processors(), "Success: first");
    // The one that failed leaves the owner's entry alone, and its socket is closed.
    EXPECT_EQ(resolve("s"), "first inproc://streamtest-first");
    EXPECT_EQ(create("third", "demo.Counter", streamConfig("t", { "inproc://streamtest-second" })), "Success");

    EXPECT_EQ(remove("first"), "Success");
    EXPECT_EQ(resolve("s"), "Error: Error: 's' does not exist");
    EXPECT_EQ(create("fourth", "demo.Counter", streamConfig("s", { "inproc://streamtest-first" })), "Success");
    EXPECT_EQ(resolve("s"), "fourth inproc://streamtest-first");
}

TEST_F(StreamProcessorTest, GeneratorToCounterWithoutGaps)
{
    ASSERT_EQ(create("gen", "demo.Generator", streamConfig("numbers", { "tcp://127.0.0.1:*" })), "Success");
    ASSERT_EQ(create("counter", "demo.Counter", streamConfig("counted", { "inproc://streamtest-counted" })), "Success");
    QVector<zelmsg::DataStream> const list = streams("gen");
    ASSERT_EQ(list.size(), 1);

    // Until the subscription has reached the Generator, what it sends is lost. So it first sends
    // small messages until the Counter has one; that is no gap, gaps count after the first message.
    set("gen", "size", "8");
    set("gen", "rate", "1000");
    EXPECT_EQ(connect("counter", list[0].GetAddress().first().toStdString()), "Success");
    ASSERT_TRUE(zeltest::waitUntil([&] { return number("counter", "count") > 0; }));
    EXPECT_EQ(outcome(ask("gen", ControlMessageHelper::makeStopStreamMessage(""))), "Success");

    // Then the run: 2000 messages of 100 bytes at 2000 a second. Small ones may still be on their
    // way, so the run's own count is told by the bytes.
    std::uint64_t const warmUp = number("gen", "sent");
    set("gen", "size", "100");
    set("gen", "count", std::to_string(warmUp + 2000));
    set("gen", "rate", "2000");
    EXPECT_EQ(outcome(ask("gen", ControlMessageHelper::makeStartStreamMessage(""))), "Success");

    auto runMessages = [&]() -> std::uint64_t {
        // Count, bytes, count again: the bytes belong to the count when nothing came in between.
        std::uint64_t const count = number("counter", "count");
        std::uint64_t const bytes = number("counter", "bytes");
        if (number("counter", "count") != count)
            return 0;
        return (bytes - 8 * count) / (100 - 8);
    };
    EXPECT_TRUE(zeltest::waitUntil([&] { return runMessages() == 2000; })) << runMessages();
    EXPECT_EQ(number("counter", "gaps"), 0u);
    EXPECT_EQ(number("gen", "sent"), warmUp + 2000);
}
