#include <zel/environment.h>

#include "services/processorgroupmanagertemplate.h"

#include <zel/context.h>
#include <zel/pluginmanager.h>

#include <zmq.h>

#include <cerrno>

namespace zel {

namespace {

std::unique_ptr<ProcessorGroupManagerTemplate<ST>> makeGroupManager(std::shared_ptr<PluginManager> pluginManager)
{
    std::string const prefix = Endpoints::getGroupManagerEndpoint(internalAddressPrefixDefault);
    if (!pluginManager)
        return std::make_unique<ProcessorGroupManagerTemplate<ST>>(prefix);
    return std::make_unique<ProcessorGroupManagerTemplate<ST>>(std::move(pluginManager), prefix);
}

// A service's end by failure as its owner reports it; a socket refused for want of room says which
// limit ran out, which ZeroMQ's own text does not.
std::optional<ServiceFailure> failureOf(std::string const& service, std::string reason)
{
    if (reason.empty())
        return std::nullopt;
    std::string const exhaustion = Context::socketExhaustion();
    if (!exhaustion.empty() && reason.find(zmq_strerror(EMFILE)) != std::string::npos)
        reason += " (" + exhaustion + ")";
    return ServiceFailure { service, reason };
}

} // namespace

Environment::Environment(std::string const& frontendAddress)
    : Environment(std::shared_ptr<PluginManager>(), frontendAddress)
{ }

// The manager connects to the router's internal socket, so the router starts first. Should the
// manager fail, the router is stopped again as the constructor unwinds.
Environment::Environment(std::shared_ptr<PluginManager> pluginManager, std::string const& frontendAddress)
    : routerFrontendAddress(std::make_shared<std::string>(frontendAddress))
    , routerThread(std::make_unique<Router>(routerFrontendAddress))
    , groupManagerThread(makeGroupManager(std::move(pluginManager)))
{ }

Environment::~Environment() = default;

std::string Environment::getRouterFrontendAddress() { return *routerFrontendAddress; }

std::optional<ServiceFailure> Environment::getServiceFailure()
{
    if (auto failure = failureOf("router", routerThread.failureReason()))
        return failure;
    return failureOf("group manager", groupManagerThread.failureReason());
}

} // namespace zel
