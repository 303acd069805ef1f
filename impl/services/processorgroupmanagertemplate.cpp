#include "services/processorgroupmanagertemplate.h"

#include "services/processorgroupmanagerhandlertemplate.h"

#include <zel/endpoints.h>
#include <zel/pluginmanager.h>

namespace zel {

template <class Traits>
ProcessorGroupManagerTemplate<Traits>::ProcessorGroupManagerTemplate(std::string const& addressPrefix)
    : ProcessorGroupManagerTemplate(std::make_shared<PluginManager>(), addressPrefix)
{ }

template <class Traits>
ProcessorGroupManagerTemplate<Traits>::ProcessorGroupManagerTemplate(
    std::shared_ptr<PluginManager> pluginManager, std::string const& addressPrefix)
    : addressPrefix(addressPrefix)
    , pluginManager(std::move(pluginManager))
{ }

template <class Traits> ProcessorGroupManagerTemplate<Traits>::~ProcessorGroupManagerTemplate() { release(); }

template <class Traits> bool ProcessorGroupManagerTemplate<Traits>::initialize()
{
    ZmqControllable::initialize();
    handler = std::make_unique<ProcessorGroupManagerHandlerTemplate<Traits>>(std::move(pluginManager), addressPrefix);
    connectToRouter(handler.get(), Endpoints::getInternalRouterEndpoint(addressPrefix),
        Endpoints::getGroupManagerEndpoint(addressPrefix));
    return true;
}

template <class Traits> void ProcessorGroupManagerTemplate<Traits>::release()
{
    disconnectFromRouter();
    handler.reset();
}

template class ProcessorGroupManagerTemplate<ST>;

} // namespace zel
