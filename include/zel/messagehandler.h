#pragma once

namespace zel {

// A common root for handlers of every socket and message type; nothing uses it beyond that.
class MessageHandlerPrivateBase
{
public:
    virtual ~MessageHandlerPrivateBase() = default;
};

// What receives the messages of an input client. `socket` is where to answer, and may be null
// (a SUB socket cannot answer). Runs on the thread that owns the socket.
template <class S, class M> class MessageHandler : MessageHandlerPrivateBase
{
public:
    ~MessageHandler() override = default;
    virtual void handleMessage(M& message, S* socket) = 0;
};

} // namespace zel
