#pragma once

namespace zel {

// The receiving half of a typed socket. Blocks until a whole message has come; on the socket
// owner's thread. Failures leave as SocketError.
template <class M> class ReceiveSocket
{
public:
    virtual M receiveMessage() = 0;
    virtual ~ReceiveSocket() = default;
};

} // namespace zel
