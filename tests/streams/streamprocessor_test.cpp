#include "support/environmenttest.h"
#include "support/printers.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using namespace zeltest;

// A publisher that shows what its subscribers subscribe: "\1topic" for a subscription. Verbose, so
// that a topic subscribed again shows up again.
class SubscriptionWatcher
{
public:
    explicit SubscriptionWatcher(std::string const& bindAddress = "tcp://127.0.0.1:*")
    {
        socket.set(zmq::sockopt::xpub_verbose, true);
        socket.bind(bindAddress);
        address = socket.get(zmq::sockopt::last_endpoint);
    }

    std::optional<std::string> next(std::chrono::milliseconds deadline = defaultDeadline)
    {
        auto const frames = receiveFrames(socket, deadline);
        return frames ? std::optional<std::string>(frames->front()) : std::nullopt;
    }

    void publish(std::string const& type, std::string const& data) { sendFrames(socket, { type, data }); }

    std::string address;

private:
    zmq::socket_t socket = makeSocket(zmq::socket_type::xpub);
};

std::string subscribe(std::string const& topic) { return '\1' + topic; }

// The demo plug-in's processors in group "g"; most tests need a Counter "counter".
class StreamProcessorTest : public EnvironmentTest
{
protected:
    void createCounter()
    {
        ASSERT_EQ(create("counter", "demo.Counter", Helper::makeProcessorConfig("c", "inproc://st-c")), "Success");
    }

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
    createCounter();
    // Over TCP ZeroMQ itself ignores a second connect to one endpoint; over inproc it would not.
    SubscriptionWatcher publisher("inproc://st-publisher");
    EXPECT_EQ(connect(publisher.address, { "a", "b" }), "Success");
    EXPECT_EQ(publisher.next(), subscribe("a"));
    EXPECT_EQ(publisher.next(), subscribe("b"));
    EXPECT_EQ(connect(publisher.address, { "b", "c" }), "Success");
    EXPECT_EQ(publisher.next(), subscribe("c"));
    EXPECT_EQ(filters(), QVector<QString>({ "a", "b", "c" }));

    // A second connection would repeat a, b and c, and a Stop that unsubscribes would send "\0a";
    // each reply came after its socket operations, so one short look is enough.
    EXPECT_EQ(ask("counter", Helper::makeStopStreamMessage("")), "Success");
    EXPECT_EQ(publisher.next(300ms), std::nullopt);
    // Stopped, it still counts what comes in, and only what begins with a filter.
    publisher.publish("x", "22");
    publisher.publish("a-last", "4444");
    EXPECT_TRUE(waitUntil([&] { return number("counter", "count") >= 1; }));
    EXPECT_EQ(number("counter", "bytes"), 4u);

    EXPECT_EQ(connect(publisher.address, {}), "Success");
    EXPECT_EQ(publisher.next(), subscribe(""));
    EXPECT_EQ(filters(), QVector<QString>());
    publisher.publish("zzz", "1");
    EXPECT_TRUE(waitUntil([&] { return number("counter", "count") == 2; }));
}

TEST_F(StreamProcessorTest, StreamNameIsHeldFromStartToDelete)
{
    ASSERT_EQ(create("first", "demo.Counter", Helper::makeProcessorConfig("s", "inproc://st-first")), "Success");
    EXPECT_THAT(create("second", "demo.Counter", Helper::makeProcessorConfig("s", "inproc://st-second")),
        testing::HasSubstr("Stream 's'could not be registered at nameservice"));
    // The one that failed leaves the owner's entry alone, and its socket is closed.
    EXPECT_EQ(resolve("s"), "first inproc://st-first");
    EXPECT_EQ(create("third", "demo.Counter", Helper::makeProcessorConfig("t", "inproc://st-second")), "Success");

    EXPECT_EQ(remove("first"), "Success");
    EXPECT_EQ(resolve("s"), "Error: Error: 's' does not exist");
    EXPECT_EQ(create("fourth", "demo.Counter", Helper::makeProcessorConfig("s", "inproc://st-first")), "Success");
}

TEST_F(StreamProcessorTest, GeneratorOnAWildcardAddressToCounterWithoutGaps)
{
    zelmsg::Processor config = Helper::makeProcessorConfig("numbers", "tcp://127.0.0.1:*");
    config.GetDataStream().first().AppendAddress(QStringLiteral("inproc://st-n"));
    ASSERT_EQ(create("gen", "demo.Generator", config), "Success");
    createCounter();

    // The bound port is what is reported and registered.
    auto const reply = request("gen", Helper::makeQueryStreamsMessage());
    ASSERT_TRUE(reply && reply->GetDataStream().size() == 1);
    QVector<QString> const addresses = reply->GetDataStream()[0].GetAddress();
    ASSERT_EQ(addresses.size(), 2);
    EXPECT_TRUE(isBoundLoopback(addresses[0])) << addresses[0].toStdString();
    EXPECT_EQ(addresses[1], "inproc://st-n");
    EXPECT_EQ(resolve("numbers"), "gen " + addresses.toList().join(QLatin1Char(' ')).toStdString());
    std::string const numbers = addresses[0].toStdString();

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
}
