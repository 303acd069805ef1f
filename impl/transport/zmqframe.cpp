#include <zel/zmqframe.h>

#include <zel/socketerror.h>

#include <cstring>

namespace zel {

namespace {

// The count sent, or none for "would block", which a blocking send meets only through a send
// time-out or a full queue that must not drop.
zmq::send_result_t send(zmq::socket_t& socket, void const* data, size_t size, int flags)
{
    try {
        return socket.send(zmq::const_buffer(data, size), static_cast<zmq::send_flags>(flags));
    } catch (zmq::error_t const& e) {
        throw SocketError(e.what());
    }
}

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

void sendFrame(zmq::socket_t& socket, void const* data, size_t size, int flags)
{
    // "Would block" counts as nothing sent, so an empty frame then still counts as sent.
    if (send(socket, data, size, flags).value_or(0) != size)
        throw SocketError("send() failed");
}

void sendFrame(zmq::socket_t& socket, QByteArray const& bytes, int flags)
{
    sendFrame(socket, bytes.constData(), static_cast<size_t>(bytes.size()), flags);
}

bool sendFrameIfRoom(zmq::socket_t& socket, QByteArray const& bytes, int flags)
{
    return send(socket, bytes.constData(), static_cast<size_t>(bytes.size()), flags | ZMQ_DONTWAIT).has_value();
}

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

void copyFrame(zmq::message_t const& frame, QByteArray& bytes)
{
    bytes.resize(static_cast<int>(frame.size()));
    if (frame.size() > 0)
        std::memcpy(bytes.data(), frame.data(), frame.size());
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
