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
// stream names, so that any thread can work out any other's address without asking. Stateless: any
// thread, never blocks. Names are neither checked nor escaped; that happens where they are accepted.
//
// Which prefix: the router and every processor name the sockets that meet inside the module (the
// router's internal socket, the name service's direct socket) with internalAddressPrefixDefault, so
// that they find each other whatever a group was made with. The group manager, groups and name
// services take the prefix they were made with (the system passes internalAddressPrefixDefault),
// for their identities and the broadcast alike; clients (zelctl, zelhost) pass the same default to
// name the identities they address.
struct ZEL_EXPORT Endpoints
{
    // Address the router's internal ROUTER socket binds; every service's DEALER connects to it.
    static std::string getInternalRouterEndpoint(std::string const& addressPrefix);
    // The group manager's identity: the prefix itself.
    static std::string getGroupManagerEndpoint(std::string const& addressPrefix);
    // A group's identity.
    static std::string getGroupEndpoint(std::string const& groupName, std::string const& addressPrefix);
    // Address of the group's PUB socket; its processors' SUB sockets connect to it.
    static std::string getGroupBroadcastEndpoint(std::string const& groupName, std::string const& addressPrefix);
    // The group's name service identity, for requests through the router.
    static std::string getNameServiceEndpoint(std::string const& groupName, std::string const& addressPrefix);
    // Address of the name service's direct socket, where its processors' clients connect.
    static std::string getInternalNameServiceEndpoint(std::string const& groupName, std::string const& addressPrefix);
    // A processor's identity, and its key in the QtRepository.
    static std::string getProcessorEndpoint(
        std::string const& groupName, std::string const& processorName, std::string const& addressPrefix);
    // Exported for plug-ins; nothing in the module binds it.
    static std::string getInprocStreamEndpoint(std::string const& groupName, std::string const& processorName,
        std::string const& streamName, std::string const& addressPrefix);
};

} // namespace zel
