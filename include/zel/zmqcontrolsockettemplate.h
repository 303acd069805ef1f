#pragma once

#include <zel/controlmessage.h>
#include <zel/receivesocket.h>
#include <zel/sendsocket.h>
#include <zel/socketerror.h>
#include <zel/zel_export.h>
#include <zel/zmqframe.h>
#include <zel/zmqsocketbase.h>

#include <cstdint>

namespace zel {

// The frame layout of a control socket; the same layout serves sending and receiving.
enum MessageFormat : std::int32_t {
    AddressDelimiterPayload = 0, // ROUTER answering REQ peers directly
    DelimiterAddressPayload = 1, // DEALER talking through the router
    DelimiterPayload = 2,
    AddressPayload = 3, // PUB/SUB, where the address is the topic
    PayloadOnly = 4, // REQ talking straight to its peer; any other value behaves the same
};

// The frames before the payload: 'a' the address, 'd' an empty delimiter.
ZEL_EXPORT char const* leadingFrames(MessageFormat format);

// A socket that carries control envelopes in one of the formats above.
template <class Traits>
class ZmqControlSocketTemplate : public SendSocket<ControlMessage>,
                                 public ReceiveSocket<ControlMessage>,
                                 public ZmqSocketBase<Traits>
{
public:
    using Socket = typename Traits::SocketType;

    ZmqControlSocketTemplate(Socket& socket, MessageFormat format)
        : ZmqSocketBase<Traits>(socket)
        , format(format)
    { }

    void sendMessage(ControlMessage const& message) override
    {
        auto& s = *this->socket;
        for (char const* frame = leadingFrames(format); *frame; ++frame) {
            if (*frame == 'a')
                sendFrame(s, message.address, ZMQ_SNDMORE);
            else
                sendFrame(s, nullptr, 0, ZMQ_SNDMORE);
        }
        sendFrame(s, message.payload, 0);
    }

    // Each leading frame must have a follower ("Invalid message format"); a delimiter's content is
    // not looked at, and a frame beyond the payload stays for the next receive.
    ControlMessage receiveMessage() override
    {
        auto& s = *this->socket;
        ControlMessage message;
        zmq::message_t frame;
        for (char const* lead = leadingFrames(format); *lead; ++lead) {
            QByteArray bytes = receiveFrameBytes(s, frame);
            requireMoreFrames(frame);
            if (*lead == 'a')
                message.address = std::move(bytes);
        }
        message.payload = receiveFrameBytes(s, frame);
        return message;
    }

private:
    MessageFormat format;
};

// The group's broadcast sender: topic and payload, never received from.
template <class Traits> class ZmqPubControlSocketTemplate : public ZmqControlSocketTemplate<Traits>
{
public:
    explicit ZmqPubControlSocketTemplate(typename Traits::SocketType& socket)
        : ZmqControlSocketTemplate<Traits>(socket, AddressPayload)
    { }

    ControlMessage receiveMessage() override
    {
        throw SocketError("receiveMessage() not supported for this socket type");
    }
};

// A processor's broadcast input: topic and payload, never sent on.
template <class Traits> class ZmqSubControlSocketTemplate : public ZmqControlSocketTemplate<Traits>
{
public:
    explicit ZmqSubControlSocketTemplate(typename Traits::SocketType& socket)
        : ZmqControlSocketTemplate<Traits>(socket, AddressPayload)
    { }

    void sendMessage(ControlMessage const&) override
    {
        throw SocketError("sendMessage() not supported for this socket type");
    }
};

} // namespace zel
