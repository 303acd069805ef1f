#include "services/routedservice.h"

#include <zel/context.h>
#include <zel/zmqhelper.h>

namespace zel {

void RoutedService::process() { dispatchUntilStopped({ { routerSocketIndex, inputClient.get() } }); }

void RoutedService::connectToRouter(MessageHandler<ControlSocket, ControlMessage>* handler,
    std::string const& routerEndpoint, std::string const& identity)
{
    routerSocket = std::make_unique<zmq::socket_t>(Context::createSocket(zmq::socket_type::dealer));
    inputClient = std::make_unique<InputClientBase<ControlSocket, ControlMessage>>(
        std::make_unique<ControlSocket>(*routerSocket, DelimiterAddressPayload), handler);
    ZmqHelper::connectSocket(*routerSocket, routerEndpoint, identity);
    routerSocketIndex = reader.addSocket(*routerSocket, ZMQ_POLLIN);
}

void RoutedService::disconnectFromRouter()
{
    inputClient.reset();
    routerSocket.reset();
}

} // namespace zel
