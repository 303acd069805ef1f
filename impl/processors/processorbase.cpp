#include <zel/processorbase.h>

#include <zel/context.h>
#include <zel/endpoints.h>
#include <zel/nameserviceclient.h>
#include <zel/processorcontrolmessagehandler.h>
#include <zel/processorfailures.h>
#include <zel/zmqhelper.h>

#include "runtime/trace.h"

#include <utility>

namespace zel {

ProcessorBase::ProcessorBase(
    std::string const& processorName, std::string const& groupName, std::string const& addressPrefix)
    : ProcessorBase(zelmsg::Processor(), processorName, groupName, addressPrefix)
{ }

ProcessorBase::ProcessorBase(zelmsg::Processor const& configuration, std::string const& processorName,
    std::string const& groupName, std::string const& addressPrefix)
    : processorName(processorName)
    , groupName(groupName)
    , addressPrefix(addressPrefix)
    , configuration(configuration)
{ }

ProcessorBase::~ProcessorBase()
{
    freeSockets();
    nameServiceClient.reset();
}

bool ProcessorBase::initialize()
{
    // A failure of an earlier processor under this identity is history now.
    ProcessorFailures::forget(getEndpointString());
    ZmqControllable::initialize();
    controlMessageHandler = std::make_unique<ProcessorControlMessageHandler<ControlSocket>>(this);
    managementSocket = std::make_unique<zmq::socket_t>(Context::createSocket(zmq::socket_type::dealer));
    managementInputClient = std::make_unique<InputClientBase<ControlSocket, ControlMessage>>(
        std::make_unique<ControlSocket>(*managementSocket, DelimiterAddressPayload), controlMessageHandler.get());
    broadcastSocket = std::make_unique<zmq::socket_t>(Context::createSocket(zmq::socket_type::sub));
    broadcastInputClient = std::make_unique<SubInputClient<ControlSocket, ControlMessage>>(
        std::make_unique<ZmqSubControlSocketTemplate<ST>>(*broadcastSocket), controlMessageHandler.get());
    // The name service's direct socket and the router's internal one are found under the default
    // prefix, whatever the group was made with; the identity and the broadcast use the group's own.
    nameServiceClient = std::make_unique<NameServiceClient>(
        Endpoints::getInternalNameServiceEndpoint(groupName, internalAddressPrefixDefault), socketInfiniteTimeout);
    ZmqHelper::connectSocket(
        *managementSocket, Endpoints::getInternalRouterEndpoint(internalAddressPrefixDefault), getEndpointString());
    ZmqHelper::connectSocket(*broadcastSocket, Endpoints::getGroupBroadcastEndpoint(groupName, addressPrefix));
    managementIndex = reader.addSocket(*managementSocket, ZMQ_POLLIN);
    broadcastIndex = reader.addSocket(*broadcastSocket, ZMQ_POLLIN);
    return true;
}

void ProcessorBase::process()
{
    for (;;) {
        if (reader.waitForSocketsOrTimeout() == 0) {
            doIdleProcessing();
            continue;
        }
        if (!checkControlSocket())
            return;
        dispatchManagementMessage();
        checkDataEvents();
    }
}

void ProcessorBase::release()
{
    nameServiceClient.reset();
    freeSockets();
}

void ProcessorBase::freeSockets()
{
    broadcastInputClient.reset();
    broadcastSocket.reset();
    managementInputClient.reset();
    managementSocket.reset();
    controlMessageHandler.reset();
}

void ProcessorBase::checkDataEvents() { }

void ProcessorBase::doIdleProcessing() { }

void ProcessorBase::enableIdleProcessing(int periodMs) { reader.setTimeout(periodMs); }

void ProcessorBase::disableIdleProcessing() { reader.setTimeout(socketInfiniteTimeout); }

void ProcessorBase::dispatchManagementMessage()
{
    if (reader.getEvents(broadcastIndex) != 0)
        broadcastInputClient->processInput();
    if (reader.getEvents(managementIndex) != 0)
        managementInputClient->processInput();
}

void ProcessorBase::subscribeParameter(std::string const& name) { broadcastSocket->set(zmq::sockopt::subscribe, name); }

bool ProcessorBase::querySources(QVector<zelmsg::DataSource>& sources)
{
    sources += std::as_const(configuration).GetDataSource();
    return true;
}

bool ProcessorBase::queryStreams(QVector<zelmsg::DataStream>& streams)
{
    streams += std::as_const(configuration).GetDataStream();
    return true;
}

std::string ProcessorBase::getEndpointString() const
{
    return Endpoints::getProcessorEndpoint(groupName, processorName, addressPrefix);
}

void reportRunningFailure(ProcessorBase const& processor, std::string const& reason)
{
    std::string const identity = processor.getEndpointString();
    ZEL_TRACE_FAILURE(QStringLiteral("Processor '%1' ended by a failure: %2")
                          .arg(QString::fromStdString(identity), QString::fromUtf8(reason.c_str())));
    ProcessorFailures::record(identity, reason);
}

} // namespace zel
