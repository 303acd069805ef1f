#include <zel/zmqhelper.h>

#include <zel/curvesecurity.h>
#include <zel/zmqframe.h>

#include "runtime/trace.h"
#include "transport/ipcpath.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>
#include <vector>

namespace zel {

int const ZmqHelper::maxBindAttempts = 5;

namespace {

// Far beyond any endpoint ZeroMQ takes: ends the growing should EINVAL have another cause.
size_t const maxEndpointSize = 1 << 16;

// The endpoint grows with the names in it (a long group name makes a long inproc address), so a
// buffer too small (EINVAL) is doubled and the read tried again.
std::string lastEndpoint(zmq::socket_t& socket)
{
    std::vector<char> endpoint(128);
    for (;;) {
        size_t size = endpoint.size();
        if (zmq_getsockopt(socket.handle(), ZMQ_LAST_ENDPOINT, endpoint.data(), &size) == 0)
            return std::string(endpoint.data(), std::find(endpoint.data(), endpoint.data() + size, '\0'));
        if (zmq_errno() != EINVAL || endpoint.size() >= maxEndpointSize)
            throw zmq::error_t();
        endpoint.resize(endpoint.size() * 2);
    }
}

std::string bindOnce(zmq::socket_t& socket, std::string const& address)
{
    CurveSecurity::prepareBind(socket, address);
    socket.bind(address);
    return lastEndpoint(socket);
}

} // namespace

void ZmqHelper::bindSocket(zmq::socket_t& socket, std::string& address)
{
    // A client names stream addresses: an ipc bind must not replace somebody's file.
    if (ipcPathHoldsOtherFile(address)) {
        ZEL_TRACE_FAILURE(QStringLiteral("bindSocket() for \"%1\" failed: the path exists and is not a socket")
                              .arg(QString::fromStdString(address)));
        errno = EEXIST;
        throw zmq::error_t();
    }
    for (int attempt = 0;; ++attempt) {
        try {
            address = bindOnce(socket, address);
            return;
        } catch (zmq::error_t const& e) {
            // An endpoint comes free only once libzmq has closed the socket that held it, which lags
            // behind that socket's close.
            if (e.num() == EADDRINUSE && attempt != maxBindAttempts - 1) {
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
                continue;
            }
            ZEL_TRACE_FAILURE(QStringLiteral("bindSocket() for \"%1\" failed: %2")
                                  .arg(QString::fromStdString(address), QString::fromUtf8(e.what())));
            throw;
        }
    }
}

void ZmqHelper::bindSocket(zmq::socket_t& socket, QString& address)
{
    std::string text = address.toStdString();
    bindSocket(socket, text);
    address = QString::fromStdString(text);
}

void ZmqHelper::bindSocket(zmq::socket_t& socket)
{
    std::string address;
    bindSocket(socket, address);
}

void ZmqHelper::connectSocket(zmq::socket_t& socket, std::string const& address)
{
    socket.connect(CurveSecurity::prepareConnect(socket, address));
}

void ZmqHelper::connectSocket(zmq::socket_t& socket, std::string const& address, std::string const& identity)
{
    QByteArray const frame = nameFrame(identity);
    socket.set(zmq::sockopt::routing_id, zmq::const_buffer(frame.constData(), static_cast<size_t>(frame.size())));
    connectSocket(socket, address);
}

} // namespace zel
