#include <zel/nameservice.h>

#include "services/nameservicehandlertemplate.h"

#include <zel/context.h>
#include <zel/endpoints.h>
#include <zel/zmqhelper.h>

#include <map>

namespace zel {

namespace {
using Store = NameServiceStore<std::map<std::string, NameServiceRecord>>;
}

NameService::NameService(std::string const& groupName, std::string const& addressPrefix)
    : addressPrefix(addressPrefix)
    , groupName(groupName)
{ }

NameService::~NameService() { release(); }

bool NameService::initialize()
{
    ZmqControllable::initialize();
    handler = std::make_unique<NameServiceHandlerTemplate<ControlSocket, Store>>();
    routedSocket = std::make_unique<zmq::socket_t>(Context::createSocket(zmq::socket_type::dealer));
    routedClient = std::make_unique<Client>(
        std::make_unique<ControlSocket>(*routedSocket, DelimiterAddressPayload), handler.get());
    directSocket = std::make_unique<zmq::socket_t>(Context::createSocket(zmq::socket_type::router));
    // A reply to a requester that has gone then throws SocketError, which ends this thread.
    // Processors' clients wait without a time-out, so they never leave a request behind.
    directSocket->set(zmq::sockopt::router_mandatory, 1);
    directClient = std::make_unique<Client>(
        std::make_unique<ControlSocket>(*directSocket, AddressDelimiterPayload), handler.get());
    ZmqHelper::connectSocket(*routedSocket, Endpoints::getInternalRouterEndpoint(addressPrefix),
        Endpoints::getNameServiceEndpoint(groupName, addressPrefix));
    std::string directEndpoint = Endpoints::getInternalNameServiceEndpoint(groupName, addressPrefix);
    ZmqHelper::bindSocket(*directSocket, directEndpoint);
    routedIndex = reader.addSocket(*routedSocket, ZMQ_POLLIN);
    directIndex = reader.addSocket(*directSocket, ZMQ_POLLIN);
    return true;
}

void NameService::process()
{
    dispatchUntilStopped({ { directIndex, directClient.get() }, { routedIndex, routedClient.get() } });
}

void NameService::release()
{
    directClient.reset();
    directSocket.reset();
    routedClient.reset();
    routedSocket.reset();
    handler.reset();
}

} // namespace zel
