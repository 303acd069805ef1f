#pragma once

namespace zel {

// The sending half of a typed socket. Blocks while the socket cannot take the message; on the
// socket owner's thread. Failures leave as SocketError.
template <class M> class SendSocket
{
public:
    virtual void sendMessage(M const& message) = 0;
    virtual ~SendSocket() = default;
};

} // namespace zel
