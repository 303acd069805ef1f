#pragma once

#include <zel/endpoints.h>
#include <zel/router.h>
#include <zel/servicefailure.h>
#include <zel/zel_export.h>
#include <zel/zmqcontrollablethread.h>

#include <memory>
#include <optional>
#include <string>

namespace zel {

class PluginManager;
template <class Traits> class ProcessorGroupManagerTemplate;

// A running system. The constructor brings up the router (and the group manager) and returns when
// both run; the destructor stops everything below, down to the last processor, router last.
// Belongs to the thread that made it; not to be destroyed while another thread calls it.
class ZEL_EXPORT Environment
{
public:
    explicit Environment(std::string const& frontendAddress = routerFrontendAddressDefault);
    // The group manager makes its processors with this plug-in manager, on which the program may
    // have registered plug-ins of its own.
    Environment(std::shared_ptr<PluginManager> pluginManager, std::string const& frontendAddress);
    ~Environment();

    Environment(Environment const&) = delete;
    Environment& operator=(Environment const&) = delete;

    // The endpoint the frontend really bound (a wildcard port resolved). Clients connect here. The
    // router wrote it before the constructor returned, so the owner's thread reads it without a lock.
    std::string getRouterFrontendAddress();

    // The router or the group manager, when one of them has ended by a failure (a malformed message
    // at the frontend, a group that could not start), with the reason; nothing while both run. Such
    // an environment stays until it is destroyed but serves nobody: its owner destroys it and, if it
    // likes, makes another. Any thread; poll it, e.g. from a timer.
    std::optional<ServiceFailure> getServiceFailure();

private:
    std::shared_ptr<std::string> routerFrontendAddress;
    ZmqControllableThread<Router> routerThread;
    ZmqControllableThread<ProcessorGroupManagerTemplate<ST>> groupManagerThread;
};

} // namespace zel
