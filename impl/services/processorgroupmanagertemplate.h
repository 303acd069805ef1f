#pragma once

#include "services/routedservice.h"

#include <memory>
#include <string>

namespace zel {

class PluginManager;

template <class Traits> class ProcessorGroupManagerHandlerTemplate;

// The root of the processing side: makes and deletes groups on request, reached through the
// router under the bare address prefix. Constructed by the Environment; runs on its own thread.
template <class Traits> class ProcessorGroupManagerTemplate : public RoutedService
{
public:
    explicit ProcessorGroupManagerTemplate(std::string const& addressPrefix);
    ProcessorGroupManagerTemplate(std::shared_ptr<PluginManager> pluginManager, std::string const& addressPrefix);
    ~ProcessorGroupManagerTemplate() override;

    bool initialize() override;
    // Unreachable first, then every group stopped.
    void release() override;

private:
    std::string addressPrefix;
    std::shared_ptr<PluginManager> pluginManager;
    std::unique_ptr<ProcessorGroupManagerHandlerTemplate<Traits>> handler;
};

} // namespace zel
