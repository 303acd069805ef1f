#pragma once

#include <zel/sockettraits.h>

namespace zel {

// Whatever can hand out the ZeroMQ socket under it.
template <class Socket> class ZmqSocketProvider
{
public:
    virtual Socket* getSocket() = 0;
    virtual ~ZmqSocketProvider() = default;
};

// Holds a socket without owning it: the owner of a wrapper also holds the socket and destroys
// the wrapper first.
template <class Traits> class ZmqSocketBase : public ZmqSocketProvider<typename Traits::SocketType>
{
public:
    using Socket = typename Traits::SocketType;

    explicit ZmqSocketBase(Socket& socket)
        : socket(&socket)
    { }
    Socket* getSocket() override { return socket; }

protected:
    Socket* socket;
};

} // namespace zel
