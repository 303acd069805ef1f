#pragma once

#include <zel/curvekeys.h>
#include <zel/zel_export.h>

#include <zmq.hpp>

#include <string>

namespace zel {

// Opt-in encryption and authentication of the process's TCP sockets; off until a host enables it.
// Enabled, every TCP bind made through ZmqHelper is a CURVE server with the host's key pair, whose
// clients the ZAP handler checks, and every TCP connect a CURVE client with the same pair. A connect
// trusts the server key written after its address, "tcp://HOST:PORT#serverkey=KEY", or else the
// default server key. inproc and ipc stay as they are: they do not leave the machine.
// Set before the threads that make sockets start and cleared after they end, so it is read unguarded.
class ZEL_EXPORT CurveSecurity
{
public:
    static void enable(CurveKeyPair const& keys, std::string const& defaultServerKey);
    static void disable();
    static bool isEnabled();
    static CurveKeyPair const& keyPair();

    // The ZAP domain of the server sockets.
    static char const* const zapDomain;

    // Before a bind to `address`: makes a TCP socket a CURVE server when enabled.
    static void prepareBind(zmq::socket_t& socket, std::string const& address);
    // Before a connect: makes a TCP socket a CURVE client when enabled; returns the address to give
    // libzmq, without its server key (disabled: the address as given).
    static std::string prepareConnect(zmq::socket_t& socket, std::string const& address);

    // The server key a connect to `address` trusts: the one after it, else the default when enabled.
    static std::string serverKeyFor(std::string const& address);
    // "ADDRESS#serverkey=KEY"; `address` as it is for an empty key.
    static std::string withServerKey(std::string const& address, std::string const& serverKey);
    // The address without its server key, which goes to `serverKey` (empty when there is none).
    static std::string splitServerKey(std::string const& address, std::string& serverKey);
};

} // namespace zel
