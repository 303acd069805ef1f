#include "support/rawpeers.h"

#include <zel/routermessage.h>
#include <zel/socketerror.h>
#include <zel/sockettraits.h>
#include <zel/zmqframe.h>
#include <zel/zmqhelper.h>
#include <zel/zmqroutersockettemplate.h>

#include <gtest/gtest.h>

#include <atomic>

using zeltest::Frames;
using zeltest::withNul;

namespace {

std::string const hostUnreachable = zmq_strerror(EHOSTUNREACH);

QByteArray bytes(std::string const& text) { return QByteArray(text.data(), static_cast<int>(text.size())); }

std::string text(QByteArray const& bytes) { return bytes.toStdString(); }

std::string uniqueAddress()
{
    static std::atomic<int> next { 0 };
    return "inproc://socketlayer-test-" + std::to_string(next++);
}

// A mandatory ROUTER under the template, with a raw DEALER peer "abc" (four bytes with its NUL).
class RouterFrames : public testing::Test
{
protected:
    RouterFrames()
    {
        router.set(zmq::sockopt::router_mandatory, 1);
        std::string address = uniqueAddress();
        zel::ZmqHelper::bindSocket(router, address);
        zel::ZmqHelper::connectSocket(peer, address, "abc");
    }

    // The router learns the peer's identity from the peer's first message.
    zel::RouterMessage receiveFromPeer(Frames const& frames)
    {
        zeltest::sendFrames(peer, frames);
        zmq::pollitem_t item { router.handle(), 0, ZMQ_POLLIN, 0 };
        EXPECT_EQ(zmq::poll(&item, 1, zeltest::defaultDeadline), 1);
        return wrapper.receiveMessage();
    }

    std::string receiveFailure(Frames const& frames)
    {
        try {
            receiveFromPeer(frames);
        } catch (zel::SocketError const& e) {
            return e.what();
        }
        return "no failure";
    }

    zmq::socket_t router = zeltest::makeSocket(zmq::socket_type::router);
    zmq::socket_t peer = zeltest::makeSocket(zmq::socket_type::dealer);
    zel::ZmqRouterSocketTemplate<zel::ST> wrapper { router };
};

} // namespace

TEST_F(RouterFrames, ReceivesSourceDestinationPayload)
{
    zel::RouterMessage const message = receiveFromPeer({ "", withNul("dst"), "payload" });
    EXPECT_EQ(text(message.source), withNul("abc"));
    EXPECT_EQ(text(message.destination), withNul("dst"));
    EXPECT_EQ(text(message.payload), "payload");
}

TEST_F(RouterFrames, DelimiterContentIsDropped)
{
    zel::RouterMessage const message = receiveFromPeer({ "not empty", withNul("dst"), "payload" });
    EXPECT_EQ(text(message.destination), withNul("dst"));
    EXPECT_EQ(text(message.payload), "payload");
}

TEST_F(RouterFrames, ThreeFramesAreAnInvalidFormat)
{
    EXPECT_EQ(receiveFailure({ "", withNul("dst") }), "Invalid message format");
    // Nothing of it is left behind: the next message reads whole.
    EXPECT_EQ(text(receiveFromPeer({ "", withNul("dst"), "next" }).payload), "next");
}

TEST_F(RouterFrames, FiveFramesAreAnInvalidFormatAndTheSurplusStaysQueued)
{
    EXPECT_EQ(receiveFailure({ "", withNul("dst"), "payload", "surplus" }), "Invalid message format");
    zmq::message_t frame;
    ASSERT_TRUE(router.recv(frame, zmq::recv_flags::dontwait));
    EXPECT_EQ(frame.to_string(), "surplus");
    EXPECT_FALSE(frame.more());
}

TEST_F(RouterFrames, SendsDestinationAsRoutingIdThenEmptySourcePayload)
{
    receiveFromPeer({ "", withNul("x"), "hello" });
    wrapper.sendMessage({ bytes(withNul("src")), bytes(withNul("abc")), "reply" });
    EXPECT_EQ(zeltest::receiveFrames(peer), (Frames { "", withNul("src"), "reply" }));
}

TEST_F(RouterFrames, AbsentIdentityFailsAndSendsNothing)
{
    receiveFromPeer({ "", withNul("x"), "hello" });
    try {
        wrapper.sendMessage({ bytes(withNul("src")), bytes(withNul("nobody")), "lost" });
        ADD_FAILURE() << "sent to an absent identity";
    } catch (zel::SocketError const& e) {
        EXPECT_EQ(e.what(), hostUnreachable);
    }
    // The next message is the first thing the peer sees: no frame of the failed one went out.
    wrapper.sendMessage({ bytes(withNul("src")), bytes(withNul("abc")), "next" });
    EXPECT_EQ(zeltest::receiveFrames(peer), (Frames { "", withNul("src"), "next" }));
}

TEST_F(RouterFrames, IdentityCarriesTheNulAndOnlyAddressesWithItReachIt)
{
    receiveFromPeer({ "", withNul("x"), "hello" });
    std::string const identity = peer.get(zmq::sockopt::routing_id);
    EXPECT_EQ(identity, withNul("abc"));
    EXPECT_EQ(identity.size(), 4u);

    EXPECT_THROW(wrapper.sendMessage({ bytes("src"), bytes("abc"), "without NUL" }), zel::SocketError);
    wrapper.sendMessage({ bytes("src"), bytes(withNul("abc")), "with NUL" });
    EXPECT_EQ(zeltest::receiveFrames(peer), (Frames { "", "src", "with NUL" }));
}

// The two frame primitives on their own.

TEST(Frames, EmptyFrameCountsAsSentEvenWhenItWouldBlock)
{
    zmq::socket_t lonely = zeltest::makeSocket(zmq::socket_type::dealer); // no peer: every send would block
    EXPECT_NO_THROW(zel::sendFrame(lonely, nullptr, 0, ZMQ_DONTWAIT));
    try {
        zel::sendFrame(lonely, QByteArray("x"), ZMQ_DONTWAIT);
        ADD_FAILURE() << "a frame went without a peer";
    } catch (zel::SocketError const& e) {
        EXPECT_STREQ(e.what(), "send() failed");
    }
}

TEST(Frames, ZeroMqFailuresCarryZeroMqsText)
{
    zmq::socket_t sub = zeltest::makeSocket(zmq::socket_type::sub);
    try {
        zel::sendFrame(sub, QByteArray("x"), 0);
        ADD_FAILURE() << "a SUB socket sent";
    } catch (zel::SocketError const& e) {
        EXPECT_STREQ(e.what(), zmq_strerror(ENOTSUP));
    }

    zmq::socket_t pub = zeltest::makeSocket(zmq::socket_type::pub);
    zmq::message_t frame;
    try {
        zel::receiveFrame(pub, frame);
        ADD_FAILURE() << "a PUB socket received";
    } catch (zel::SocketError const& e) {
        EXPECT_STREQ(e.what(), zmq_strerror(ENOTSUP));
    }
}

TEST(Frames, ReceiveThatTimesOutIsRecvFailed)
{
    zmq::socket_t quiet = zeltest::makeSocket(zmq::socket_type::dealer);
    quiet.set(zmq::sockopt::rcvtimeo, 10);
    zmq::message_t frame;
    try {
        zel::receiveFrame(quiet, frame);
        ADD_FAILURE() << "received from nobody";
    } catch (zel::SocketError const& e) {
        EXPECT_STREQ(e.what(), "recv() failed");
    }
}
