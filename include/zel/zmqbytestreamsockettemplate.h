#pragma once

#include <zel/bytestreammessage.h>
#include <zel/receivesocket.h>
#include <zel/sendsocket.h>
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
        auto& s = *this->socket;
        ByteStreamMessage message;
        zmq::message_t frame;
        message.type = receiveFrameBytes(s, frame);
        if (frame.more())
            message.data = receiveFrameBytes(s, frame);
        return message;
    }
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
    }
};

using ZmqByteStreamInSocket = ZmqByteStreamInSocketTemplate<ST>;
using ZmqByteStreamOutSocket = ZmqByteStreamOutSocketTemplate<ST>;

} // namespace zel
