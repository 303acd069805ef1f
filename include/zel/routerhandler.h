#pragma once

#include <zel/messagehandler.h>
#include <zel/routermessage.h>
#include <zel/zel_export.h>

#include <QString>

namespace zel {

// Router side: traces a message that could not be delivered. Exported for the handler template.
ZEL_EXPORT void traceUndeliverable(RouterMessage const& message);

// Sends what the router received out of its other socket, unchanged. A message that cannot be
// delivered (no peer of that identity) is dropped and traced; the router goes on.
template <class S> class RouterHandler : public MessageHandler<S, RouterMessage>
{
public:
    void handleMessage(RouterMessage& message, S* socket) override
    {
        try {
            socket->sendMessage(message);
        } catch (std::exception const&) {
            traceUndeliverable(message);
        }
    }
};

} // namespace zel
