#pragma once

#include <zel/controlmessage.h>
#include <zel/messagehandler.h>
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

} // namespace zel
