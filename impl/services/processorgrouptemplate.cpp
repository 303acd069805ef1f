#include "services/processorgrouptemplate.h"

#include <zel/configtool.h>
#include <zel/context.h>
#include <zel/endpoints.h>
#include <zel/pluginmanager.h>
#include <zel/processorinfo.h>
#include <zel/servecontrolmessage.h>
#include <zel/socketerror.h>
#include <zel/zmqframe.h>
#include <zel/zmqhelper.h>

#include <utility>

namespace zel {

namespace {

// Names end up in comma-joined lists and in addresses: no white space, no commas.
bool isAllowedProcessorName(QString const& name)
{
    for (QChar const c : name) {
        if (c.isSpace() || c == QLatin1Char(','))
            return false;
    }
    return true;
}

} // namespace

template <class Traits, class Socket>
ProcessorGroupHandlerTemplate<Traits, Socket>::ProcessorGroupHandlerTemplate(
    std::string const& groupName, std::string const& addressPrefix, std::shared_ptr<PluginManager> pluginManager)
    : broadcastSocket(std::make_unique<zmq::socket_t>(Context::createSocket(zmq::socket_type::pub)))
    , broadcastSender(std::make_unique<ZmqPubControlSocketTemplate<Traits>>(*broadcastSocket))
    , groupName(groupName)
    , addressPrefix(addressPrefix)
    , pluginManager(std::move(pluginManager))
{
    std::string endpoint = Endpoints::getGroupBroadcastEndpoint(groupName, addressPrefix);
    ZmqHelper::bindSocket(*broadcastSocket, endpoint);
}

template <class Traits, class Socket>
ProcessorGroupHandlerTemplate<Traits, Socket>::~ProcessorGroupHandlerTemplate() = default;

template <class Traits, class Socket>
void ProcessorGroupHandlerTemplate<Traits, Socket>::handleMessage(ControlMessage& message, Socket* replySocket)
{
    if (!replySocket)
        throw SocketError("No reply socket available");
    serveControlMessage(message, replySocket, [this](zelmsg::ControlMessage& record) { operate(record); });
}

template <class Traits, class Socket>
void ProcessorGroupHandlerTemplate<Traits, Socket>::operate(zelmsg::ControlMessage& record)
{
    switch (record.GetMessageType()) {
    case zelmsg::ControlMessage::QueryProcessors:
        return queryProcessors(record);
    case zelmsg::ControlMessage::Create:
        return create(record);
    case zelmsg::ControlMessage::Delete:
        return remove(record);
    case zelmsg::ControlMessage::SetParameterMessage:
        return publishParameter(record);
    default:
        setUnknownMessageType(record);
    }
}

template <class Traits, class Socket>
void ProcessorGroupHandlerTemplate<Traits, Socket>::queryProcessors(zelmsg::ControlMessage& record)
{
    ConfigTool::setResultSuccess(record, joinNames(processors));
}

template <class Traits, class Socket>
void ProcessorGroupHandlerTemplate<Traits, Socket>::create(zelmsg::ControlMessage& record)
{
    QString const name = record.GetProcessorName();
    try {
        if (!isAllowedProcessorName(name))
            return ConfigTool::setErrorMessage(record, QStringLiteral("Processor name '%1' is not allowed.").arg(name));
        if (processors.count(name.toStdString()) != 0)
            return ConfigTool::setErrorMessage(record,
                QStringLiteral("A processor with the name '%1' already exists in group '%2'.")
                    .arg(name, QString::fromStdString(groupName)));
        createProcessor(record, name.toStdString());
    } catch (std::exception const& e) {
        ConfigTool::setErrorMessage(record,
            QStringLiteral("Processor of type '%1' could not be created: '%2'.")
                .arg(record.GetProcessorType(), QString::fromUtf8(e.what())));
    }
}

template <class Traits, class Socket>
void ProcessorGroupHandlerTemplate<Traits, Socket>::createProcessor(
    zelmsg::ControlMessage& record, std::string const& name)
{
    ProcessorInfo const info(
        std::as_const(record).GetProcessor(), record.GetProcessorType().toStdString(), name, groupName, addressPrefix);
    std::unique_ptr<ProcessorBase> processor(pluginManager->createProcessor(info));
    if (!processor) {
        return ConfigTool::setErrorMessage(
            record, QStringLiteral("Processor of type '%1' could not be created.").arg(record.GetProcessorType()));
    }
    // Blocks until the processor's initialize has returned.
    auto thread = std::make_shared<ProcessorThread>(std::move(processor));
    processors.emplace(name, std::move(thread));
    ConfigTool::setResultSuccess(record);
}

template <class Traits, class Socket>
void ProcessorGroupHandlerTemplate<Traits, Socket>::remove(zelmsg::ControlMessage& record)
{
    QString const name = record.GetProcessorName();
    auto const it = processors.find(name.toStdString());
    if (it == processors.end())
        return ConfigTool::setErrorMessage(
            record, QStringLiteral("A processor with the name '%1' does not exists.").arg(name));
    // The last reference: stops the processor and waits for its thread before the reply goes.
    processors.erase(it);
    ConfigTool::setResultSuccess(record);
}

template <class Traits, class Socket>
void ProcessorGroupHandlerTemplate<Traits, Socket>::publishParameter(zelmsg::ControlMessage& record)
{
    // With its NUL like every name frame; processors subscribe to a prefix of it.
    QByteArray const topic = nameFrame(record.GetParameterName().toStdString());
    broadcastSender->sendMessage(ControlMessage { topic, record.GetXmlString().toUtf8() });
    ConfigTool::setResultSuccess(record);
}

template class ProcessorGroupHandlerTemplate<ST, ZmqControlSocketTemplate<ST>>;

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
