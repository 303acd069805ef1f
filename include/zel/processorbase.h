#pragma once

#include <zel/controlmessage.h>
#include <zel/inputclient.h>
#include <zel/messagehandler.h>
#include <zel/processorcontrolinterface.h>
#include <zel/sockettraits.h>
#include <zel/zelmsg/processor.h>
#include <zel/zmqcontrollable.h>
#include <zel/zmqcontrolsockettemplate.h>

#include <memory>
#include <string>

namespace zel {

class NameServiceClient;
class ProcessorBase;

// A processor whose thread fails while it runs answers nobody: its identity and the reason are
// traced as a failure and kept in ProcessorFailures. Called on the processor's thread.
ZEL_EXPORT void reportRunningFailure(ProcessorBase const& processor, std::string const& reason);

// The base of every processor: its configuration, the three sockets every processor has (control,
// management through the router, the group's broadcast) and one poll loop serving them. Constructed
// on the group's thread; everything else runs on the processor's own thread.
class ZEL_EXPORT ProcessorBase : public ZmqControllable, public ProcessorControlInterface
{
public:
    ProcessorBase(std::string const& processorName, std::string const& groupName, std::string const& addressPrefix);
    ProcessorBase(zelmsg::Processor const& configuration, std::string const& processorName,
        std::string const& groupName, std::string const& addressPrefix);
    ~ProcessorBase() override;

    // Derived classes call this first and stop at false, then build their own sockets.
    bool initialize() override;
    // Per wake-up: idle processing on a time-out, else control, broadcast, management, data.
    void process() override;
    // Derived classes free their own sockets first, then call this.
    void release() override;

protected:
    // Called after every wake-up that was not a time-out; whoever adds a data socket tests it here.
    virtual void checkDataEvents();
    // Called when the poll timed out; see enableIdleProcessing.
    virtual void doIdleProcessing();

    // The poll's time-out becomes the idle period, so idle processing follows a whole quiet period.
    void enableIdleProcessing(int periodMs);
    void disableIdleProcessing();
    // Serves the broadcast and then the management socket, one message each, from the last poll.
    void dispatchManagementMessage();
    // Broadcasts of the group for parameters beginning with `name` reach setParameter. From
    // initialize on, once this class's initialize has made the broadcast socket.
    void subscribeParameter(std::string const& name);

    bool querySources(QVector<zelmsg::DataSource>& sources) override;
    bool queryStreams(QVector<zelmsg::DataStream>& streams) override;

    // This processor's routing identity: prefix/group/name.
    std::string getEndpointString() const;

    using ControlSocket = ZmqControlSocketTemplate<ST>;

    std::string processorName;
    std::string groupName;
    std::string addressPrefix;
    zelmsg::Processor configuration;
    // From initialize to release. Its requests wait without a time-out: the group's name service
    // outlives its processors.
    std::unique_ptr<NameServiceClient> nameServiceClient;

private:
    friend void reportRunningFailure(ProcessorBase const& processor, std::string const& reason);

    void freeSockets();

    std::unique_ptr<MessageHandler<ControlSocket, ControlMessage>> controlMessageHandler;
    std::unique_ptr<zmq::socket_t> managementSocket;
    std::unique_ptr<InputClient> managementInputClient;
    int managementIndex = -1;
    std::unique_ptr<zmq::socket_t> broadcastSocket;
    std::unique_ptr<InputClient> broadcastInputClient;
    int broadcastIndex = -1;
};

} // namespace zel
