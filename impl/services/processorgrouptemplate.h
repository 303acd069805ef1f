#pragma once

#include "services/routedservice.h"

#include <zel/nameservice.h>
#include <zel/zmqcontrollablethread.h>

#include <memory>
#include <string>

namespace zel {

class PluginManager;

template <class Traits, class Socket> class ProcessorGroupHandlerTemplate;

// A named scope of processors on a thread of its own, with its own name service and broadcast
// socket. Reached through the router under prefix/group. Constructed on the manager's thread.
template <class Traits> class ProcessorGroupTemplate : public RoutedService
{
public:
    ProcessorGroupTemplate(
        std::shared_ptr<PluginManager> pluginManager, std::string const& groupName, std::string const& addressPrefix);
    ~ProcessorGroupTemplate() override;

    bool initialize() override;
    // Processors first, the name service last.
    void release() override;

private:
    using Handler = ProcessorGroupHandlerTemplate<Traits, ZmqControlSocketTemplate<Traits>>;

    std::string groupName;
    std::string addressPrefix;
    std::unique_ptr<ZmqControllableThread<NameService>> nameServiceThread;
    std::shared_ptr<PluginManager> pluginManager;
    std::unique_ptr<Handler> handler;
};

} // namespace zel
