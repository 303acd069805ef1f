#include <zel/zmqframe.h>

#include <zel/socketerror.h>

namespace zel {

void sendFrame(zmq::socket_t& socket, void const* data, size_t size, int flags)
{
    try {
        zmq::send_result_t const sent = socket.send(zmq::const_buffer(data, size), static_cast<zmq::send_flags>(flags));
        // "Would block" comes back as no count; an empty frame then still counts as sent.
        if (sent.value_or(0) != size)
            throw SocketError("send() failed");
    } catch (zmq::error_t const& e) {
        throw SocketError(e.what());
    }
}

void sendFrame(zmq::socket_t& socket, QByteArray const& bytes, int flags)
{
    sendFrame(socket, bytes.constData(), static_cast<size_t>(bytes.size()), flags);
}

namespace {

// False for "would block", which a blocking receive meets only through a receive time-out.
bool receive(zmq::socket_t& socket, zmq::message_t& frame, int flags)
{
    if (zmq_msg_recv(frame.handle(), socket.handle(), flags) >= 0)
        return true;
    int const error = zmq_errno();
    if (error == EAGAIN)
        return false;
    throw SocketError(zmq::error_t(error).what());
}

} // namespace

void receiveFrame(zmq::socket_t& socket, zmq::message_t& frame)
{
    if (!receive(socket, frame, 0))
        throw SocketError("recv() failed");
}

bool receiveFrameIfAny(zmq::socket_t& socket, zmq::message_t& frame) { return receive(socket, frame, ZMQ_DONTWAIT); }

QByteArray frameBytes(zmq::message_t const& frame)
{
    return QByteArray(frame.data<char>(), static_cast<int>(frame.size()));
}

QByteArray receiveFrameBytes(zmq::socket_t& socket, zmq::message_t& frame)
{
    receiveFrame(socket, frame);
    return frameBytes(frame);
}

void requireMoreFrames(zmq::message_t const& frame)
{
    if (!frame.more())
        throw SocketError("Invalid message format");
}

void requireLastFrame(zmq::message_t const& frame)
{
    if (frame.more())
        throw SocketError("Invalid message format");
}

QByteArray nameFrame(std::string const& name) { return QByteArray(name.c_str(), static_cast<int>(name.size()) + 1); }

} // namespace zel
