#include "support/rawpeers.h"

#include <zel/routermessage.h>
#include <zel/socketerror.h>
#include <zel/zmqbytestreamsockettemplate.h>
#include <zel/zmqcontrolsockettemplate.h>
#include <zel/zmqframe.h>
#include <zel/zmqroutersockettemplate.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <tuple>

using zeltest::Frames;
using zeltest::withNul;
using namespace std::string_literals;

namespace {

using ControlSocket = zel::ZmqControlSocketTemplate<zel::ST>;

std::string failure(std::function<void()> const& action)
{
    try {
        action();
    } catch (zel::SocketError const& e) {
        return e.what();
    }
    return "no failure";
}

// The receive templates block: make sure something is there first.
void awaitMessage(zmq::socket_t& socket)
{
    zmq::pollitem_t item { socket.handle(), 0, ZMQ_POLLIN, 0 };
    if (zmq::poll(&item, 1, zeltest::defaultDeadline) != 1)
        throw std::runtime_error("no message within the deadline");
}

// A wrapped DEALER and a raw DEALER peer: DEALERs pass frames through untouched, so the peer sees
// exactly the frames the wrapper writes.
class WirePair : public testing::Test
{
protected:
    WirePair()
    {
        static std::atomic<int> next { 0 };
        std::string address = "inproc://controlsocket-test-" + std::to_string(next++);
        wrapped.bind(address);
        peer.connect(address);
    }

    zel::ControlMessage receive(zel::MessageFormat format, Frames const& frames)
    {
        zeltest::sendFrames(peer, frames);
        awaitMessage(wrapped);
        return ControlSocket(wrapped, format).receiveMessage();
    }

    zmq::socket_t wrapped = zeltest::makeSocket(zmq::socket_type::dealer);
    zmq::socket_t peer = zeltest::makeSocket(zmq::socket_type::dealer);
};

} // namespace

TEST_F(WirePair, EachFormatSendsAndReceivesItsFrames)
{
    std::string const xml = "<ControlMessage/>";
    std::vector<std::tuple<int, std::string, std::string, Frames>> const layouts {
        { 0, "req-1", xml, { "req-1", "", xml } },
        { 1, "svc\0"s, xml, { "", "svc\0"s, xml } },
        { 2, "", xml, { "", xml } },
        { 3, "topic", xml, { "topic", xml } },
        { 4, "", xml, { xml } },
        { 9, "", xml, { xml } }, // unknown values behave as PayloadOnly
        // An empty address and payload still travel as zero-length frames.
        { 0, "", "", { "", "", "" } },
    };
    for (auto const& [value, address, payload, wire] : layouts) {
        SCOPED_TRACE("format " + std::to_string(value) + " payload '" + payload + "'");
        auto const format = static_cast<zel::MessageFormat>(value);
        ControlSocket(wrapped, format)
            .sendMessage({ QByteArray::fromStdString(address), QByteArray::fromStdString(payload) });
        EXPECT_EQ(zeltest::receiveFrames(peer), wire);

        zel::ControlMessage const received = receive(format, wire);
        EXPECT_EQ(received.address.toStdString(), address);
        EXPECT_EQ(received.payload.toStdString(), payload);
        EXPECT_FALSE(received.payload.isNull());
    }
}

TEST_F(WirePair, OddFramesOnReceive)
{
    // Delimiter content is ignored.
    zel::ControlMessage const routerSide = receive(zel::AddressDelimiterPayload, { "req-1", "junk", "p" });
    EXPECT_EQ(routerSide.address, "req-1");
    EXPECT_EQ(routerSide.payload, "p");
    // A surplus frame stays for the next receive.
    EXPECT_EQ(receive(zel::DelimiterAddressPayload, { "junk", "svc", "p", "surplus" }).address, "svc");
    EXPECT_EQ(ControlSocket(wrapped, zel::PayloadOnly).receiveMessage().payload, "surplus");
    // A missing frame is an invalid format, and the broken message is consumed whole.
    std::pair<zel::MessageFormat, Frames> const broken[] = { { zel::AddressDelimiterPayload, { "req-1" } },
        { zel::DelimiterAddressPayload, { "", "svc" } }, { zel::AddressPayload, { "topic" } } };
    for (auto const& message : broken)
        EXPECT_EQ(failure([&] { receive(message.first, message.second); }), "Invalid message format");
    EXPECT_EQ(receive(zel::AddressPayload, { "topic", "p" }).payload, "p");
}

TEST_F(WirePair, ByteStreamFrames)
{
    zel::ZmqByteStreamOutSocket(wrapped).sendMessage({ "type", "" });
    EXPECT_EQ(zeltest::receiveFrames(peer), (Frames { "type", "" }));

    zel::ZmqByteStreamInSocket in(wrapped);
    zeltest::sendFrames(peer, { "lonely" });
    awaitMessage(wrapped);
    zel::ByteStreamMessage const single = in.receiveMessage();
    EXPECT_EQ(single.type, "lonely") << "a single frame is the type";
    EXPECT_TRUE(single.data.isEmpty());
}

TEST(RouterSocket, SurplusFrameIsAnInvalidFormatAndStaysQueued)
{
    zmq::socket_t router = zeltest::makeSocket(zmq::socket_type::router);
    zmq::socket_t peer = zeltest::makeSocket(zmq::socket_type::dealer);
    router.bind("inproc://controlsocket-test-router");
    peer.connect("inproc://controlsocket-test-router");
    zeltest::sendFrames(peer, { "", withNul("dst"), "payload", "surplus" });
    awaitMessage(router);
    EXPECT_EQ(
        failure([&] { zel::ZmqRouterSocketTemplate<zel::ST>(router).receiveMessage(); }), "Invalid message format");
    zmq::message_t frame;
    ASSERT_TRUE(router.recv(frame, zmq::recv_flags::dontwait));
    EXPECT_EQ(frame.to_string(), "surplus");
    EXPECT_FALSE(frame.more());
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
