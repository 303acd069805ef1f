#include "rawpeers.h"

#include <zel/context.h>
#include <zel/endpoints.h>
#include <zel/zmqframe.h>
#include <zel/zmqhelper.h>

#include <QHostAddress>
#include <QRegularExpression>
#include <QTcpServer>

namespace zeltest {

std::string withNul(std::string const& name) { return zel::nameFrame(name).toStdString(); }

zmq::socket_t makeSocket(zmq::socket_type type)
{
    zmq::socket_t socket = zel::Context::createSocket(type);
    socket.set(zmq::sockopt::linger, 0);
    return socket;
}

void sendFrames(zmq::socket_t& socket, Frames const& frames)
{
    for (size_t i = 0; i < frames.size(); ++i) {
        auto const flags = i + 1 < frames.size() ? zmq::send_flags::sndmore : zmq::send_flags::none;
        socket.send(zmq::buffer(frames[i]), flags);
    }
}

std::optional<Frames> receiveFrames(zmq::socket_t& socket, std::chrono::milliseconds deadline)
{
    zmq::pollitem_t item { socket.handle(), 0, ZMQ_POLLIN, 0 };
    if (zmq::poll(&item, 1, deadline) == 0)
        return std::nullopt;
    Frames frames;
    zmq::message_t frame;
    do {
        (void)socket.recv(frame, zmq::recv_flags::none);
        frames.push_back(frame.to_string());
    } while (frame.more());
    return frames;
}

std::string internalRouterEndpoint()
{
    return zel::Endpoints::getInternalRouterEndpoint(zel::internalAddressPrefixDefault);
}

zmq::socket_t connectService(std::string const& identity)
{
    zmq::socket_t socket = makeSocket(zmq::socket_type::dealer);
    zel::ZmqHelper::connectSocket(socket, internalRouterEndpoint(), identity);
    return socket;
}

zmq::socket_t connectClient(std::string const& frontendAddress, std::string const& identity)
{
    zmq::socket_t socket = makeSocket(zmq::socket_type::dealer);
    if (identity.empty())
        zel::ZmqHelper::connectSocket(socket, frontendAddress);
    else
        zel::ZmqHelper::connectSocket(socket, frontendAddress, identity);
    return socket;
}

bool internalRouterEndpointFree()
{
    zmq::socket_t probe = makeSocket(zmq::socket_type::router);
    try {
        probe.bind(internalRouterEndpoint());
        probe.unbind(internalRouterEndpoint());
        return true;
    } catch (zmq::error_t const&) {
        return false;
    }
}

bool waitForNoRouter(std::chrono::milliseconds deadline) { return waitUntil(internalRouterEndpointFree, deadline); }

bool isBoundLoopback(QString const& endpoint)
{
    // Not std::regex: GCC 12 warns of its insides in sanitizer builds, and warnings are errors.
    static QRegularExpression const pattern(QStringLiteral("^tcp://127\\.0\\.0\\.1:[1-9][0-9]*$"));
    return pattern.match(endpoint).hasMatch();
}

int freeLoopbackPort()
{
    QTcpServer server;
    if (!server.listen(QHostAddress::LocalHost, 0))
        return 0;
    return server.serverPort();
}

bool roundTrip(std::string const& frontendAddress, std::string const& serviceName)
{
    // The service connects first: the router then knows its identity before the request comes.
    zmq::socket_t service = connectService(serviceName);
    zmq::socket_t client = connectClient(frontendAddress);
    sendFrames(client, { "", withNul(serviceName), "request" });
    auto const request = receiveFrames(service);
    if (!request || request->size() != 3 || (*request)[2] != "request")
        return false;
    sendFrames(service, { "", (*request)[1], "reply" });
    auto const reply = receiveFrames(client);
    return reply && *reply == Frames { "", withNul(serviceName), "reply" };
}

} // namespace zeltest
