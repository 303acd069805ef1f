#pragma once

#include "services/processorgrouptemplate.h"

#include <zel/controlmessage.h>
#include <zel/messagehandler.h>
#include <zel/zmqcontrollablethread.h>
#include <zel/zmqcontrolsockettemplate.h>

#include <map>
#include <memory>
#include <string>

namespace zelmsg {
class ControlMessage;
}

namespace zel {

class PluginManager;

// Answers QueryGroups, CreateGroup and DeleteGroup; its map is what keeps the groups alive.
// Destroying it stops every group, one at a time. On the manager's thread.
template <class Traits>
class ProcessorGroupManagerHandlerTemplate
    : public virtual MessageHandler<ZmqControlSocketTemplate<Traits>, ControlMessage>
{
public:
    ProcessorGroupManagerHandlerTemplate(
        std::shared_ptr<PluginManager> pluginManager, std::string const& addressPrefix);
    ~ProcessorGroupManagerHandlerTemplate() override;

    // Throws SocketError without a reply socket, before decoding.
    void handleMessage(ControlMessage& message, ZmqControlSocketTemplate<Traits>* replySocket) override;

private:
    using GroupThread = ZmqControllableThread<ProcessorGroupTemplate<Traits>>;

    void operate(zelmsg::ControlMessage& record);
    void queryGroups(zelmsg::ControlMessage& record);
    void createGroup(zelmsg::ControlMessage& record);
    void deleteGroup(zelmsg::ControlMessage& record);

    std::string addressPrefix;
    std::shared_ptr<PluginManager> pluginManager;
    std::map<std::string, std::shared_ptr<GroupThread>> groups;
};

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
