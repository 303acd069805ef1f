#pragma once

#include <zel/controlmessage.h>
#include <zel/messagehandler.h>
#include <zel/sockettraits.h>
#include <zel/zmqcontrollable.h>
#include <zel/zmqcontrolsockettemplate.h>

#include <memory>
#include <string>

// zelhost's own service behind the router, under the identity "zelhost": tells why a processor
// that the host ran ended by a failure. GetParameter with ParameterName set to the processor's
// identity answers Success with the reason in Parameter, or Error when none is known; any other
// message type is answered "Unknown message type". Runs on a controllable thread of its own.
class FailureService : public zel::ZmqControllable,
                       public zel::MessageHandler<zel::ZmqControlSocketTemplate<zel::ST>, zel::ControlMessage>
{
public:
    static std::string const identity;

    bool initialize() override;
    void process() override;
    void release() override;
    void handleMessage(zel::ControlMessage& message, zel::ZmqControlSocketTemplate<zel::ST>* socket) override;

private:
    std::unique_ptr<zmq::socket_t> routerSocket;
    std::unique_ptr<zel::InputClient> input;
    int routerIndex = -1;
};
