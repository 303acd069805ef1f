#include "handshakeprobe.h"

#include <zel/context.h>
#include <zel/curvesecurity.h>
#include <zel/zmqhelper.h>

#include <zmq.hpp>

#include <chrono>
#include <cstdint>
#include <cstring>

namespace {

// A refused connection tells at once that nothing listens, so that a dead host costs no extra wait.
int const watchedEvents = ZMQ_EVENT_CONNECT_RETRIED | ZMQ_EVENT_HANDSHAKE_SUCCEEDED | ZMQ_EVENT_HANDSHAKE_FAILED_AUTH
    | ZMQ_EVENT_HANDSHAKE_FAILED_PROTOCOL | ZMQ_EVENT_HANDSHAKE_FAILED_NO_DETAIL;

// A monitor message: the event (16 bits) and its value (32 bits), then the endpoint.
bool nextEvent(zmq::socket_t& monitor, int timeoutMs, uint16_t& event)
{
    zmq::pollitem_t item { monitor.handle(), 0, ZMQ_POLLIN, 0 };
    if (zmq::poll(&item, 1, std::chrono::milliseconds(timeoutMs)) == 0)
        return false;
    zmq::message_t head;
    zmq::message_t endpoint;
    if (!monitor.recv(head) || !monitor.recv(endpoint) || head.size() < sizeof event)
        return false;
    std::memcpy(&event, head.data(), sizeof event);
    return true;
}

Handshake handshakeOf(uint16_t event)
{
    switch (event) {
    case ZMQ_EVENT_CONNECT_RETRIED:
        return Handshake::Silent;
    case ZMQ_EVENT_HANDSHAKE_SUCCEEDED:
        return Handshake::Accepted;
    case ZMQ_EVENT_HANDSHAKE_FAILED_AUTH:
        return Handshake::Refused;
    case ZMQ_EVENT_HANDSHAKE_FAILED_PROTOCOL:
        return Handshake::Mismatch;
    default:
        return Handshake::Failed;
    }
}

} // namespace

Handshake probeHandshake(std::string const& address, int waitMs)
{
    zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::dealer);
    socket.set(zmq::sockopt::linger, 0);
    std::string const monitorAddress = "inproc://zelctl-handshake-probe";
    if (zmq_socket_monitor(socket.handle(), monitorAddress.c_str(), watchedEvents) != 0)
        throw zmq::error_t();
    zmq::socket_t monitor = zel::Context::createSocket(zmq::socket_type::pair);
    monitor.set(zmq::sockopt::linger, 0);
    monitor.connect(monitorAddress);
    zel::ZmqHelper::connectSocket(socket, address);
    uint16_t event = 0;
    Handshake const result = nextEvent(monitor, waitMs, event) ? handshakeOf(event) : Handshake::Silent;
    zmq_socket_monitor(socket.handle(), nullptr, 0);
    return result;
}

QString silenceReason(std::string const& address, int waitMs)
{
    QString const host = QString::fromStdString(address);
    bool const keys = zel::CurveSecurity::isEnabled();
    switch (probeHandshake(address, waitMs)) {
    case Handshake::Refused:
        return QStringLiteral("refused by zelhost: this key is not authorized (zelhost at %1)").arg(host);
    case Handshake::Mismatch:
    case Handshake::Failed:
        // Which of the two a broken handshake shows depends on which side gives up first.
        if (!keys)
            return QStringLiteral("zelhost at %1 wants keys: give --key and --server-key").arg(host);
        return QStringLiteral("the handshake with zelhost at %1 broke off: is --server-key its public key, and does "
                              "it use keys?")
            .arg(host);
    case Handshake::Accepted:
    case Handshake::Silent:
        break;
    }
    return QStringLiteral("zelhost at %1 does not answer: is it running?%2")
        .arg(host, keys ? QStringLiteral(" (with keys: is --server-key its public key?)") : QString());
}
