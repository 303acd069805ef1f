#pragma once

#include <zel/zel_export.h>

#include <QString>
#include <zmq.hpp>

#include <string>

namespace zel {

// The one place where sockets are bound, and nearly the one where they are connected.
// Stateless; any thread, on a socket of its own. Failures leave as zmq::error_t.
class ZEL_EXPORT ZmqHelper
{
public:
    // Binds tried in all, while the address is in use.
    static int const maxBindAttempts;

    // Binds, retrying on EADDRINUSE with 100 ms pauses; `address` receives the endpoint really
    // bound, and on failure stays as given. The last failure is traced and rethrown.
    static void bindSocket(zmq::socket_t& socket, std::string& address);
    static void bindSocket(zmq::socket_t& socket, QString& address);
    static void bindSocket(zmq::socket_t& socket);

    static void connectSocket(zmq::socket_t& socket, std::string const& address);
    // Sets the identity, with its terminating NUL, before connecting: every address frame carries it.
    static void connectSocket(zmq::socket_t& socket, std::string const& address, std::string const& identity);
};

} // namespace zel
