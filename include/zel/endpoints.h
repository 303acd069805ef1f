#pragma once

#include <zel/zel_export.h>

#include <string>

namespace zel {

// The prefix of all internal endpoints.
ZEL_EXPORT extern std::string const internalAddressPrefixDefault;
// Where the router's frontend binds unless configured otherwise.
ZEL_EXPORT extern std::string const routerFrontendAddressDefault;
// Milliseconds that client code waits on a socket by default.
ZEL_EXPORT extern int const socketDefaultTimeout;
// Wait without limit, as zmq_poll takes it.
ZEL_EXPORT extern int const socketInfiniteTimeout;

// Every address and routing identity of the system, derived from prefix, group, processor and
// stream names, so that any thread can work out any other's address. Stateless; any thread.
struct ZEL_EXPORT Endpoints
{
    static std::string getInternalRouterEndpoint(std::string const& addressPrefix);
    static std::string getGroupManagerEndpoint(std::string const& addressPrefix);
    static std::string getGroupEndpoint(std::string const& groupName, std::string const& addressPrefix);
    static std::string getGroupBroadcastEndpoint(std::string const& groupName, std::string const& addressPrefix);
    static std::string getNameServiceEndpoint(std::string const& groupName, std::string const& addressPrefix);
    static std::string getInternalNameServiceEndpoint(std::string const& groupName, std::string const& addressPrefix);
    static std::string getProcessorEndpoint(
        std::string const& groupName, std::string const& processorName, std::string const& addressPrefix);
    static std::string getInprocStreamEndpoint(std::string const& groupName, std::string const& processorName,
        std::string const& streamName, std::string const& addressPrefix);
};

} // namespace zel
