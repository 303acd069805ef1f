#pragma once

namespace zel {

// The receiving half of a typed socket.
template <class M> class ReceiveSocket
{
public:
    virtual M receiveMessage() = 0;
    virtual ~ReceiveSocket() = default;
};

} // namespace zel
