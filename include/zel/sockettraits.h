#pragma once

#include <zmq.hpp>

namespace zel {

// Names the socket type for the socket templates; the system instantiates them for zmq::socket_t only.
template <class Socket> struct SocketTraits
{
    using SocketType = Socket;
};

using ST = SocketTraits<zmq::socket_t>;

} // namespace zel
