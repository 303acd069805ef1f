#include "services/processorgrouptemplate.h"

#include "services/processorgrouphandlertemplate.h"

#include <zel/endpoints.h>
#include <zel/pluginmanager.h>

namespace zel {

template <class Traits>
ProcessorGroupTemplate<Traits>::ProcessorGroupTemplate(
    std::shared_ptr<PluginManager> pluginManager, std::string const& groupName, std::string const& addressPrefix)
    : groupName(groupName)
    , addressPrefix(addressPrefix)
    , pluginManager(std::move(pluginManager))
{ }

template <class Traits> ProcessorGroupTemplate<Traits>::~ProcessorGroupTemplate() { release(); }

template <class Traits> bool ProcessorGroupTemplate<Traits>::initialize()
{
    ZmqControllable::initialize();
    nameServiceThread
        = std::make_unique<ZmqControllableThread<NameService>>(std::make_unique<NameService>(groupName, addressPrefix));
    handler = std::make_unique<Handler>(groupName, addressPrefix, std::move(pluginManager));
    // The router is found under the default prefix, as by every processor; the identity uses the
    // group's own.
    connectToRouter(handler.get(), Endpoints::getInternalRouterEndpoint(internalAddressPrefixDefault),
        Endpoints::getGroupEndpoint(groupName, addressPrefix));
    return true;
}

template <class Traits> void ProcessorGroupTemplate<Traits>::release()
{
    disconnectFromRouter();
    handler.reset();
    nameServiceThread.reset();
}

template class ProcessorGroupTemplate<ST>;

} // namespace zel
