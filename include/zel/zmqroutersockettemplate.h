#pragma once

#include <zel/receivesocket.h>
#include <zel/routermessage.h>
#include <zel/sendsocket.h>
#include <zel/zmqframe.h>
#include <zel/zmqsocketbase.h>

namespace zel {

// A ROUTER socket that speaks RouterMessage. Received: source, delimiter, destination, payload.
// Sent: destination (the routing identity), empty, source, payload.
template <class Traits>
class ZmqRouterSocketTemplate : public SendSocket<RouterMessage>,
                                public ReceiveSocket<RouterMessage>,
                                public ZmqSocketBase<Traits>
{
public:
    using ZmqSocketBase<Traits>::ZmqSocketBase;

    // Exactly four frames, else SocketError "Invalid message format" (frames not read stay queued).
    RouterMessage receiveMessage() override
    {
        auto& s = *this->socket;
        RouterMessage message;
        zmq::message_t frame;
        message.source = receiveFrameBytes(s, frame);
        requireMoreFrames(frame);
        receiveFrame(s, frame); // the delimiter; its content does not matter
        requireMoreFrames(frame);
        message.destination = receiveFrameBytes(s, frame);
        requireMoreFrames(frame);
        message.payload = receiveFrameBytes(s, frame);
        requireLastFrame(frame);
        return message;
    }

    void sendMessage(RouterMessage const& message) override
    {
        auto& s = *this->socket;
        sendFrame(s, message.destination, ZMQ_SNDMORE);
        sendFrame(s, nullptr, 0, ZMQ_SNDMORE);
        sendFrame(s, message.source, ZMQ_SNDMORE);
        sendFrame(s, message.payload, 0);
    }
};

} // namespace zel
