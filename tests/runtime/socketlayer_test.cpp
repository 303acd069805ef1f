#include "support/rawpeers.h"

#include <zel/routermessage.h>
#include <zel/socketerror.h>
#include <zel/sockettraits.h>
#include <zel/zmqframe.h>
#include <zel/zmqhelper.h>
#include <zel/zmqroutersockettemplate.h>

#include <gtest/gtest.h>

#include <functional>

using zeltest::Frames;
using zeltest::withNul;

namespace {

QByteArray bytes(std::string const& text) { return QByteArray(text.data(), static_cast<int>(text.size())); }

std::string failure(std::function<void()> const& action)
{
    try {
        action();
    } catch (zel::SocketError const& e) {
        return e.what();
    }
    return "no failure";
}

// A mandatory ROUTER under the template, with a raw DEALER peer "abc" (four bytes with its NUL).
class RouterFrames : public testing::Test
{
protected:
    RouterFrames()
    {
        router.set(zmq::sockopt::router_mandatory, 1);
        static int next = 0;
        std::string address = "inproc://socketlayer-test-" + std::to_string(next++);
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

    zmq::socket_t router = zeltest::makeSocket(zmq::socket_type::router);
    zmq::socket_t peer = zeltest::makeSocket(zmq::socket_type::dealer);
    zel::ZmqRouterSocketTemplate<zel::ST> wrapper { router };
};

} // namespace

TEST_F(RouterFrames, ReceivesSourceDestinationPayloadDroppingTheDelimiter)
{
    zel::RouterMessage const message = receiveFromPeer({ "not empty", withNul("dst"), "payload" });
    EXPECT_EQ(message.source.toStdString(), withNul("abc"));
    EXPECT_EQ(message.destination.toStdString(), withNul("dst"));
    EXPECT_EQ(message.payload.toStdString(), "payload");
}

TEST_F(RouterFrames, SurplusFrameIsAnInvalidFormatAndStaysQueued)
{
    EXPECT_EQ(failure([&] {
        receiveFromPeer({ "", withNul("dst"), "payload", "surplus" });
    }),
        "Invalid message format");
    zmq::message_t frame;
    ASSERT_TRUE(router.recv(frame, zmq::recv_flags::dontwait));
    EXPECT_EQ(frame.to_string(), "surplus");
    EXPECT_FALSE(frame.more());
}

TEST_F(RouterFrames, SendsOnlyToTheFullIdentityAndNothingOfAFailedMessage)
{
    receiveFromPeer({ "", withNul("x"), "hello" });
    EXPECT_EQ(failure([&] {
        wrapper.sendMessage({ bytes("src"), bytes(withNul("nobody")), "lost" });
    }),
        zmq_strerror(EHOSTUNREACH));
    EXPECT_EQ(failure([&] {
        wrapper.sendMessage({ bytes("src"), bytes("abc"), "without NUL" });
    }),
        zmq_strerror(EHOSTUNREACH));
    // The next message is the first thing the peer sees.
    wrapper.sendMessage({ bytes(withNul("src")), bytes(withNul("abc")), "reply" });
    EXPECT_EQ(zeltest::receiveFrames(peer), (Frames { "", withNul("src"), "reply" }));
}

TEST(Frames, FailureTexts)
{
    // No peer: every send would block, but an empty frame counts as sent.
    zmq::socket_t lonely = zeltest::makeSocket(zmq::socket_type::dealer);
    EXPECT_NO_THROW(zel::sendFrame(lonely, nullptr, 0, ZMQ_DONTWAIT));
    EXPECT_EQ(failure([&] { zel::sendFrame(lonely, QByteArray("x"), ZMQ_DONTWAIT); }), "send() failed");

    zmq::socket_t sub = zeltest::makeSocket(zmq::socket_type::sub);
    EXPECT_EQ(failure([&] { zel::sendFrame(sub, QByteArray("x"), 0); }), zmq_strerror(ENOTSUP));

    lonely.set(zmq::sockopt::rcvtimeo, 10);
    zmq::message_t frame;
    EXPECT_EQ(failure([&] { zel::receiveFrame(lonely, frame); }), "recv() failed");
}
