#pragma once

#include <zel/bytestreammessage.h>
#include <zel/receivesocket.h>
#include <zel/sendsocket.h>
#include <zel/streamcounters.h>
#include <zel/zmqframe.h>
#include <zel/zmqsocketbase.h>

namespace zel {

// A stream's input: the type frame, then the data frame if one follows. A message of one frame
// arrives with empty data; there is no format failure.
template <class Traits>
class ZmqByteStreamInSocketTemplate : public ReceiveSocket<ByteStreamMessage>, public ZmqSocketBase<Traits>
{
public:
    using ZmqSocketBase<Traits>::ZmqSocketBase;

    ByteStreamMessage receiveMessage() override
    {
        zmq::message_t frame;
        receiveFrame(*this->socket, frame);
        ByteStreamMessage message;
        takeMessage(frame, message);
        return message;
    }

    // Never blocks: false when no whole message is waiting. ZeroMQ hands over the frames of a
    // message together, so once the first has come the rest are there. The message's buffers are
    // reused where nobody else shares them, so a loop that drains into one message allocates
    // nothing per message.
    bool tryReceiveMessage(ByteStreamMessage& message)
    {
        zmq::message_t frame;
        if (!receiveFrameIfAny(*this->socket, frame))
            return false;
        takeMessage(frame, message);
        return true;
    }

    StreamCounters const& counters() const { return received; }

private:
    void takeMessage(zmq::message_t& first, ByteStreamMessage& message)
    {
        copyFrame(first, message.type);
        if (first.more()) {
            receiveFrame(*this->socket, first);
            copyFrame(first, message.data);
        } else {
            message.data.clear();
        }
        received.count(message);
    }

    StreamCounters received;
};

// A stream's output: type, then data.
template <class Traits>
class ZmqByteStreamOutSocketTemplate : public SendSocket<ByteStreamMessage>, public ZmqSocketBase<Traits>
{
public:
    using ZmqSocketBase<Traits>::ZmqSocketBase;

    void sendMessage(ByteStreamMessage const& message) override
    {
        auto& s = *this->socket;
        sendFrame(s, message.type, ZMQ_SNDMORE);
        sendFrame(s, message.data, 0);
        sent.count(message);
    }

    // Never blocks: false, and nothing sent, when the socket would have to wait for room (a PUB
    // that must not drop, at a subscriber's high-water mark). Room is checked per message, so once
    // the type frame is taken the data frame is too.
    bool trySendMessage(ByteStreamMessage const& message)
    {
        auto& s = *this->socket;
        if (!sendFrameIfRoom(s, message.type, ZMQ_SNDMORE))
            return false;
        sendFrame(s, message.data, 0);
        sent.count(message);
        return true;
    }

    StreamCounters const& counters() const { return sent; }

private:
    StreamCounters sent;
};

using ZmqByteStreamInSocket = ZmqByteStreamInSocketTemplate<ST>;
using ZmqByteStreamOutSocket = ZmqByteStreamOutSocketTemplate<ST>;

} // namespace zel
