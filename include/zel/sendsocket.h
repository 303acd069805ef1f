#pragma once

namespace zel {

// The sending half of a typed socket.
template <class M> class SendSocket
{
public:
    virtual void sendMessage(M const& message) = 0;
    virtual ~SendSocket() = default;
};

} // namespace zel
