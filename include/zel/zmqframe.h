#pragma once

#include <zel/zel_export.h>

#include <QByteArray>
#include <zmq.hpp>

#include <string>

namespace zel {

// The two operations that carry every frame of the socket templates. Blocking; the caller's thread
// owns the socket. Failures leave as SocketError.

// Sends one frame; flags is ZMQ_SNDMORE for all but the last frame.
ZEL_EXPORT void sendFrame(zmq::socket_t& socket, void const* data, size_t size, int flags);
ZEL_EXPORT void sendFrame(zmq::socket_t& socket, QByteArray const& bytes, int flags);
// The same without blocking: false, and nothing sent, when the socket has no room for it.
ZEL_EXPORT bool sendFrameIfRoom(zmq::socket_t& socket, QByteArray const& bytes, int flags);
// Receives one frame into the caller's frame object.
ZEL_EXPORT void receiveFrame(zmq::socket_t& socket, zmq::message_t& frame);
// The same without blocking: false when no frame is waiting.
ZEL_EXPORT bool receiveFrameIfAny(zmq::socket_t& socket, zmq::message_t& frame);
// A copy of a received frame's bytes.
ZEL_EXPORT QByteArray frameBytes(zmq::message_t const& frame);
// The same into `bytes`, whose buffer is reused when nobody else shares it and it is large enough.
ZEL_EXPORT void copyFrame(zmq::message_t const& frame, QByteArray& bytes);
// Receives one frame and copies it out; the frame object tells whether more follow.
ZEL_EXPORT QByteArray receiveFrameBytes(zmq::socket_t& socket, zmq::message_t& frame);
// Throws SocketError "Invalid message format" unless another frame of the message follows.
ZEL_EXPORT void requireMoreFrames(zmq::message_t const& frame);
// Throws SocketError "Invalid message format" when another frame of the message follows.
ZEL_EXPORT void requireLastFrame(zmq::message_t const& frame);
// A name as an identity or address frame carries it: its bytes and the terminating NUL, which the router
// frames of every peer include.
ZEL_EXPORT QByteArray nameFrame(std::string const& name);

} // namespace zel
