#pragma once

#include "polling.h"

#include <QString>

#include <zmq.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace zeltest {

// One multipart message as raw frames; std::string keeps embedded NULs.
using Frames = std::vector<std::string>;

// The bytes of a name plus its terminating NUL, as identities and address frames carry it.
std::string withNul(std::string const& name);

// A socket on ZEL's context (inproc reaches the framework only from there), with linger 0 so that
// closing it never holds up the context's end.
zmq::socket_t makeSocket(zmq::socket_type type);

void sendFrames(zmq::socket_t& socket, Frames const& frames);

// The next whole message, or nothing when none arrives within the deadline.
std::optional<Frames> receiveFrames(zmq::socket_t& socket, std::chrono::milliseconds deadline = defaultDeadline);

// The router's internal endpoint with the system's prefix.
std::string internalRouterEndpoint();

// A service as the router sees it: a DEALER on the internal endpoint, identity set by ZmqHelper.
zmq::socket_t connectService(std::string const& identity);

// A client at the router's frontend; without an identity ZeroMQ makes one up.
zmq::socket_t connectClient(std::string const& frontendAddress, std::string const& identity = {});

// Whether nothing is bound at the router's internal endpoint: a probe binds it and lets it go.
bool internalRouterEndpointFree();

// Polls until no router holds the internal endpoint (closing a socket frees it asynchronously).
bool waitForNoRouter(std::chrono::milliseconds deadline = defaultDeadline);

// Whether `endpoint` is tcp://127.0.0.1 with a concrete port, as a wildcard bind reports it.
bool isBoundLoopback(QString const& endpoint);

// A free loopback TCP port, as the system hands it out right now.
int freeLoopbackPort();

// A client request through the router to a service and its reply back: true when both arrive.
// `serviceName` is the identity without its NUL.
bool roundTrip(std::string const& frontendAddress, std::string const& serviceName);

} // namespace zeltest
