#include <zel/environment.h>

#include "services/processorgroupmanagertemplate.h"

#include <zel/pluginmanager.h>

namespace zel {

namespace {

std::unique_ptr<ProcessorGroupManagerTemplate<ST>> makeGroupManager(std::shared_ptr<PluginManager> pluginManager)
{
    std::string const prefix = Endpoints::getGroupManagerEndpoint(internalAddressPrefixDefault);
    if (!pluginManager)
        return std::make_unique<ProcessorGroupManagerTemplate<ST>>(prefix);
    return std::make_unique<ProcessorGroupManagerTemplate<ST>>(std::move(pluginManager), prefix);
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

} // namespace zel
