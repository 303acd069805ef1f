#include <zel/router.h>

#include <zel/context.h>
#include <zel/endpoints.h>
#include <zel/zmqhelper.h>

#include "runtime/trace.h"

namespace zel {

namespace {

std::unique_ptr<zmq::socket_t> makeMandatoryRouterSocket()
{
    auto socket = std::make_unique<zmq::socket_t>(Context::createSocket(zmq::socket_type::router));
    socket->set(zmq::sockopt::router_mandatory, 1);
    return socket;
}

// Identities and address frames end in a NUL; print up to it.
QString printable(QByteArray const& address) { return QString::fromUtf8(address.constData()); }

} // namespace

void traceUndeliverable(RouterMessage const& message)
{
    ZEL_TRACE_FAILURE(QStringLiteral("Router: Failed to deliver message from '%1' to '%2'!")
                          .arg(printable(message.source), printable(message.destination)));
}

Router::Router(std::string const& frontendAddress)
    : Router(std::make_shared<std::string>(frontendAddress))
{ }

Router::Router(std::shared_ptr<std::string> frontendAddress)
    : frontendAddress(std::move(frontendAddress))
    , internalAddress(Endpoints::getInternalRouterEndpoint(internalAddressPrefixDefault))
{ }

Router::~Router() { release(); }

bool Router::initialize()
{
    ZmqControllable::initialize();
    frontendSocket = makeMandatoryRouterSocket();
    internalSocket = makeMandatoryRouterSocket();
    // A group or processor made again under its old name must take its identity over from the
    // connection that is still being closed, or it stays unreachable.
    internalSocket->set(zmq::sockopt::router_handover, 1);
    // A client that does not read its answers must not hold up the router: an answer that its
    // connection cannot take at once is dropped, like one to a client that has gone.
    frontendSocket->set(zmq::sockopt::sndtimeo, 0);
    // A service's answers never wait for room towards the router, so that the router, while it waits
    // to hand a service a request, never waits on that same service in turn.
    internalSocket->set(zmq::sockopt::rcvhwm, 0);
    frontendWrapper = std::make_shared<RouterSocket>(*frontendSocket);
    internalWrapper = std::make_shared<RouterSocket>(*internalSocket);
    internalHandler = std::make_unique<RouterHandler<RouterSocket>>();
    internalClient = std::make_unique<Client>(internalWrapper, internalHandler.get(), frontendWrapper);
    frontendHandler = std::make_unique<RouterHandler<RouterSocket>>();
    frontendClient = std::make_unique<Client>(frontendWrapper, frontendHandler.get(), internalWrapper);
    ZmqHelper::bindSocket(*internalSocket, internalAddress);
    ZmqHelper::bindSocket(*frontendSocket, *frontendAddress);
    internalIndex = reader.addSocket(*internalSocket, ZMQ_POLLIN);
    frontendIndex = reader.addSocket(*frontendSocket, ZMQ_POLLIN);
    return true;
}

void Router::process()
{
    dispatchUntilStopped({ { internalIndex, internalClient.get() }, { frontendIndex, frontendClient.get() } });
}

void Router::release()
{
    frontendClient.reset();
    frontendHandler.reset();
    internalClient.reset();
    internalHandler.reset();
    internalWrapper.reset();
    frontendWrapper.reset();
    internalSocket.reset();
    frontendSocket.reset();
}

} // namespace zel
