#include "support/rawpeers.h"

#include <zel/inputclient.h>
#include <zel/routermessage.h>
#include <zel/socketreader.h>
#include <zel/sockettraits.h>
#include <zel/zmqhelper.h>
#include <zel/zmqroutersockettemplate.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>

using zel::SocketReader;

namespace {

using Clock = std::chrono::steady_clock;

std::string uniqueAddress()
{
    static std::atomic<int> next { 0 };
    return "inproc://socketreader-test-" + std::to_string(next++);
}

// A PULL socket with a PUSH that can make it readable.
struct Line
{
    Line()
    {
        std::string address = uniqueAddress();
        zel::ZmqHelper::bindSocket(in, address);
        zel::ZmqHelper::connectSocket(out, address);
    }
    void push(std::string const& text) { zeltest::sendFrames(out, { text }); }

    zmq::socket_t in = zeltest::makeSocket(zmq::socket_type::pull);
    zmq::socket_t out = zeltest::makeSocket(zmq::socket_type::push);
};

} // namespace

TEST(SocketReader, EmptySetTimesOut)
{
    SocketReader reader;
    reader.setTimeout(50);
    auto const start = Clock::now();
    EXPECT_FALSE(reader.waitForSockets());
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(45));
    EXPECT_EQ(reader.waitForSocketsOrTimeout(), 0);
}

TEST(SocketReader, ExplicitTimeOutLeavesTheStoredOne)
{
    SocketReader reader;
    reader.setTimeout(1234);
    EXPECT_FALSE(reader.waitForSockets(10));
    EXPECT_EQ(reader.getTimeout(), 1234);
    reader.clear();
    EXPECT_EQ(reader.getTimeout(), 1234);
}

TEST(SocketReader, ReportsWhichSocketsHaveInput)
{
    Line a, b, c;
    SocketReader reader;
    EXPECT_EQ(reader.addSocket(a.in, ZMQ_POLLIN), 0);
    EXPECT_EQ(reader.addSocket(b.in, ZMQ_POLLIN), 1);
    EXPECT_EQ(reader.addSocket(c.in, ZMQ_POLLIN), 2);
    a.push("1");
    c.push("3");
    reader.setTimeout(10000);
    // Both arrive on their own time; wait until one poll sees them together.
    ASSERT_TRUE(zeltest::waitUntil([&] { return reader.waitForSocketsOrTimeout() == 2; }));
    EXPECT_TRUE(SocketReader::isReadable(reader.getEvents(0)));
    EXPECT_EQ(reader.getEvents(1), 0);
    EXPECT_TRUE(SocketReader::isReadable(reader.getEvents(2)));
    EXPECT_EQ(reader.getEvents(-1), 0);
    EXPECT_EQ(reader.getEvents(reader.size()), 0);
}

TEST(SocketReader, RemovingAnItemMovesTheOnesBehindIt)
{
    Line a, b, c;
    SocketReader reader;
    reader.addSocket(a.in, ZMQ_POLLIN);
    reader.addSocket(b.in, ZMQ_POLLIN);
    reader.addSocket(c.in, ZMQ_POLLIN);
    reader.removeSocket(1);
    EXPECT_EQ(reader.size(), 2);
    c.push("3");
    ASSERT_TRUE(reader.waitForSockets(10000));
    EXPECT_EQ(reader.getEvents(0), 0);
    EXPECT_TRUE(SocketReader::isReadable(reader.getEvents(1)));
    EXPECT_EQ(reader.getEvents(2), 0);
}

// The input clients: one message per call, handed to the handler with the socket to answer on.

namespace {

using RouterSocket = zel::ZmqRouterSocketTemplate<zel::ST>;

struct Recorder : zel::MessageHandler<RouterSocket, zel::RouterMessage>
{
    void handleMessage(zel::RouterMessage& message, RouterSocket* socket) override
    {
        payloads.push_back(message.payload.toStdString());
        sockets.push_back(socket);
    }
    std::vector<std::string> payloads;
    std::vector<RouterSocket*> sockets;
};

class Dispatch : public testing::Test
{
protected:
    Dispatch()
    {
        std::string address = uniqueAddress();
        zel::ZmqHelper::bindSocket(router, address);
        zel::ZmqHelper::connectSocket(peer, address, "peer");
    }

    bool routerReadable()
    {
        zmq::pollitem_t item { router.handle(), 0, ZMQ_POLLIN, 0 };
        return zmq::poll(&item, 1, zeltest::defaultDeadline) == 1;
    }

    zmq::socket_t router = zeltest::makeSocket(zmq::socket_type::router);
    zmq::socket_t peer = zeltest::makeSocket(zmq::socket_type::dealer);
    Recorder handler;
};

} // namespace

TEST_F(Dispatch, TwoQueuedMessagesTakeTwoPasses)
{
    auto wrapper = std::make_unique<RouterSocket>(router);
    RouterSocket* const answerOn = wrapper.get();
    zel::InputClientBase<RouterSocket, zel::RouterMessage> client(std::move(wrapper), &handler);
    SocketReader reader;
    int const index = reader.addSocket(router, ZMQ_POLLIN);

    zeltest::sendFrames(peer, { "", "to", "first" });
    zeltest::sendFrames(peer, { "", "to", "second" });
    ASSERT_TRUE(reader.waitForSockets(10000));
    client.processInput();
    EXPECT_EQ(handler.payloads, std::vector<std::string> { "first" });

    ASSERT_TRUE(reader.waitForSockets(10000));
    EXPECT_NE(reader.getEvents(index), 0);
    client.processInput();
    EXPECT_EQ(handler.payloads, (std::vector<std::string> { "first", "second" }));
    EXPECT_EQ(handler.sockets.back(), answerOn);

    // Nothing left; a short look is enough.
    EXPECT_FALSE(reader.waitForSockets(50));
}

TEST_F(Dispatch, SubscriberClientGivesNoSocketToAnswerOn)
{
    zel::SubInputClient<RouterSocket, zel::RouterMessage> client(std::make_unique<RouterSocket>(router), &handler);
    zeltest::sendFrames(peer, { "", "to", "broadcast" });
    ASSERT_TRUE(routerReadable());
    client.processInput();
    ASSERT_EQ(handler.sockets.size(), 1u);
    EXPECT_EQ(handler.sockets[0], nullptr);
}

