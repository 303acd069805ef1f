#include <zel/streamprocessor.h>

#include "processors/sourceconnection.h"
#include "transport/ipcpath.h"

#include <zel/context.h>
#include <zel/controlmessagehelper.h>
#include <zel/datastreaminitializer.h>
#include <zel/inputclient.h>
#include <zel/nameserviceclient.h>

#include <algorithm>
#include <utility>

namespace zel {

namespace {

using ByteStreamInputClient = InputClientBase<ZmqByteStreamInSocket, ByteStreamMessage>;

} // namespace

StreamProcessor::StreamProcessor(std::string const& processorName, std::string const& groupName,
    std::string const& streamName, std::string const& streamAddress, std::string const& addressPrefix)
    : StreamProcessor(
        ControlMessageHelper::makeProcessorConfig(streamName, streamAddress), processorName, groupName, addressPrefix)
{ }

StreamProcessor::StreamProcessor(zelmsg::Processor const& configuration, std::string const& processorName,
    std::string const& groupName, std::string const& addressPrefix)
    : ProcessorBase(configuration, processorName, groupName, addressPrefix)
{
    checkDataStreamConfig();
}

StreamProcessor::~StreamProcessor() { freeStreamSockets(); }

void StreamProcessor::checkDataStreamConfig()
{
    QVector<zelmsg::DataStream> const& streams = std::as_const(configuration).GetDataStream();
    if (streams.isEmpty())
        throw CreateProcessorError("No data stream configuration available");
    if (streams.size() > 1)
        throw CreateProcessorError("Multiple data streams are not supported");
    if (streams.first().GetAddress().isEmpty())
        throw CreateProcessorError("No data stream address available");
}

std::string StreamProcessor::getDataStreamName() const
{
    return configuration.GetDataStream().first().GetName().toStdString();
}

bool StreamProcessor::initialize()
{
    if (!ProcessorBase::initialize())
        return false;
    inputSocket = std::make_unique<zmq::socket_t>(Context::createSocket(zmq::socket_type::sub));
    inputClient = std::make_unique<ByteStreamInputClient>(std::make_unique<ZmqByteStreamInSocket>(*inputSocket), this);
    outputSocket = std::make_unique<zmq::socket_t>(Context::createSocket(zmq::socket_type::pub));
    outputWrapper = std::make_unique<ZmqByteStreamOutSocket>(*outputSocket);
    std::string const endpoint = getEndpointString();
    DataStreamInitializer(endpoint, processorName, *nameServiceClient)
        .initialize(*outputSocket, configuration.GetDataStream().first());
    inputIndex = reader.addSocket(*inputSocket, ZMQ_POLLIN);
    return true;
}

void StreamProcessor::release()
{
    // Only a stream this processor registered: one that failed because the name was taken must not
    // drop the owner's entry. The input joins the reader right after the registration.
    if (nameServiceClient && inputIndex >= 0)
        nameServiceClient->deregisterStream(getDataStreamName());
    freeStreamSockets();
    ProcessorBase::release();
}

void StreamProcessor::freeStreamSockets()
{
    outputWrapper.reset();
    // Closing leaves an ipc socket file behind. It goes before the close, so that a processor
    // binding the path meanwhile keeps its own; what is no socket (a bind refused) stays.
    if (outputSocket) {
        for (QString const& address : std::as_const(configuration).GetDataStream().first().GetAddress())
            removeIpcSocketFile(address.toStdString());
    }
    outputSocket.reset();
    inputClient.reset();
    inputSocket.reset();
}

void StreamProcessor::setInputBatchSize(int messages) { inputBatchSize = std::max(messages, 1); }

void StreamProcessor::checkDataEvents()
{
    if (reader.getEvents(inputIndex) == 0)
        return;
    // The first message is there, since the poll said so; the rest of a batch only if already queued.
    inputClient->processInput();
    // initialize made the client: the cast is exact and costs nothing.
    ZmqByteStreamInSocket& input = static_cast<ByteStreamInputClient&>(*inputClient).getSocket();
    for (int served = 1; served < inputBatchSize; ++served) {
        if (!input.tryReceiveMessage(batchMessage))
            return;
        handleMessage(batchMessage, &input);
    }
}

bool StreamProcessor::connect(QString const&, QString const& streamAddress, QVector<QString> const& filters)
{
    FilterChange const change = connectSource(configuration, *inputSocket, streamAddress, filters);
    if (change.subscribeAll)
        setSubscription(*inputSocket, ZMQ_SUBSCRIBE, QString());
    for (QString const& filter : change.added)
        setSubscription(*inputSocket, ZMQ_SUBSCRIBE, filter);
    return true;
}

bool StreamProcessor::start(QString const&)
{
    runFlag = true;
    return true;
}

bool StreamProcessor::stop(QString const&)
{
    runFlag = false;
    return true;
}

bool StreamProcessor::setParameter(QString const&, QString const&) { return false; }

bool StreamProcessor::getParameter(QString const&, QString&) { return false; }

bool StreamProcessor::getParameterList(QStringList&) { return false; }

bool StreamProcessor::startNewRecording(QString&) { return false; }

} // namespace zel
