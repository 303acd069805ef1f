#pragma once

#include "services/routedservice.h"

#include <zel/controlmessage.h>
#include <zel/messagehandler.h>
#include <zel/nameservice.h>
#include <zel/processorbase.h>
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

// Answers what is addressed to a group: QueryProcessors, Create, Delete, SetParameter (published
// on the group's broadcast socket). Lives on the group's thread; the constructor binds the
// broadcast socket. Destroying it stops every processor of the group, one at a time.
template <class Traits, class Socket>
class ProcessorGroupHandlerTemplate : public MessageHandler<Socket, ControlMessage>
{
public:
    ProcessorGroupHandlerTemplate(
        std::string const& groupName, std::string const& addressPrefix, std::shared_ptr<PluginManager> pluginManager);
    ~ProcessorGroupHandlerTemplate() override;

    // Throws SocketError without a reply socket, before decoding.
    void handleMessage(ControlMessage& message, Socket* replySocket) override;

private:
    using ProcessorThread = ZmqControllableThread<ProcessorBase>;

    void operate(zelmsg::ControlMessage& record);
    void queryProcessors(zelmsg::ControlMessage& record);
    void create(zelmsg::ControlMessage& record);
    void createProcessor(zelmsg::ControlMessage& record, std::string const& name);
    void remove(zelmsg::ControlMessage& record);
    void publishParameter(zelmsg::ControlMessage& record);

    std::unique_ptr<zmq::socket_t> broadcastSocket;
    std::unique_ptr<ZmqPubControlSocketTemplate<Traits>> broadcastSender;
    std::string groupName;
    std::string addressPrefix;
    std::shared_ptr<PluginManager> pluginManager;
    std::map<std::string, std::shared_ptr<ProcessorThread>> processors;
};

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
