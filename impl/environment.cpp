#include <zel/environment.h>

namespace zel {

Environment::Environment(std::string const& frontendAddress)
    : Environment(std::shared_ptr<PluginManager>(), frontendAddress)
{
}

Environment::Environment(std::shared_ptr<PluginManager>, std::string const& frontendAddress)
    : routerFrontendAddress(std::make_shared<std::string>(frontendAddress)),
      routerThread(std::make_unique<Router>(routerFrontendAddress))
{
}

Environment::~Environment() = default;

std::string Environment::getRouterFrontendAddress() { return *routerFrontendAddress; }

} // namespace zel
