#include <zel/curvesecurity.h>

namespace zel {

namespace {

bool enabled = false;
CurveKeyPair hostKeys;
std::string defaultServer;

std::string const serverKeyMarker = "#serverkey=";

bool isTcp(std::string const& address) { return address.compare(0, 6, "tcp://") == 0; }

// A socket's security options hold for the binds and connects after them, and one socket may have
// TCP and ipc endpoints: clearing CURVE server mode makes it plain again for the next one.
void plainFromHereOn(zmq::socket_t& socket) { socket.set(zmq::sockopt::curve_server, 0); }

} // namespace

char const* const CurveSecurity::zapDomain = "zel";

void CurveSecurity::enable(CurveKeyPair const& keys, std::string const& defaultServerKey)
{
    hostKeys = keys;
    defaultServer = defaultServerKey;
    enabled = true;
}

void CurveSecurity::disable()
{
    enabled = false;
    hostKeys = {};
    defaultServer.clear();
}

bool CurveSecurity::isEnabled() { return enabled; }

CurveKeyPair const& CurveSecurity::keyPair() { return hostKeys; }

void CurveSecurity::prepareBind(zmq::socket_t& socket, std::string const& address)
{
    if (!enabled)
        return;
    if (!isTcp(address)) {
        plainFromHereOn(socket);
        return;
    }
    socket.set(zmq::sockopt::curve_server, 1);
    socket.set(zmq::sockopt::curve_secretkey, hostKeys.secretKey);
    socket.set(zmq::sockopt::zap_domain, zapDomain);
}

std::string CurveSecurity::prepareConnect(zmq::socket_t& socket, std::string const& address)
{
    // Off, an address is what it always was: with a key behind it, one that libzmq refuses.
    if (!enabled)
        return address;
    std::string serverKey;
    std::string const bare = splitServerKey(address, serverKey);
    if (!isTcp(bare)) {
        plainFromHereOn(socket);
        return bare;
    }
    socket.set(zmq::sockopt::curve_serverkey, serverKey.empty() ? defaultServer : serverKey);
    socket.set(zmq::sockopt::curve_publickey, hostKeys.publicKey);
    socket.set(zmq::sockopt::curve_secretkey, hostKeys.secretKey);
    return bare;
}

std::string CurveSecurity::serverKeyFor(std::string const& address)
{
    std::string serverKey;
    splitServerKey(address, serverKey);
    return serverKey.empty() && enabled ? defaultServer : serverKey;
}

std::string CurveSecurity::withServerKey(std::string const& address, std::string const& serverKey)
{
    return serverKey.empty() ? address : address + serverKeyMarker + serverKey;
}

std::string CurveSecurity::splitServerKey(std::string const& address, std::string& serverKey)
{
    // Z85 holds '#' too, but no endpoint before the marker does, so the first marker is the one.
    size_t const at = address.find(serverKeyMarker);
    if (at == std::string::npos) {
        serverKey.clear();
        return address;
    }
    serverKey = address.substr(at + serverKeyMarker.size());
    return address.substr(0, at);
}

} // namespace zel
