#pragma once

#include <zel/controlmessage.h>
#include <zel/messagehandler.h>
#include <zel/sockettraits.h>
#include <zel/zel_export.h>
#include <zel/zmqcontrolsockettemplate.h>

namespace zel {

// The handler of control envelopes, for classes built outside the module.
class ZEL_EXPORT ControlMessageHandler : public MessageHandler<ZmqControlSocketTemplate<ST>, ControlMessage>
{
public:
    ~ControlMessageHandler() override;
};

} // namespace zel
