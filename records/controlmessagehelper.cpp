#include <zel/controlmessagehelper.h>

#include <zel/zmqframe.h>

namespace zel {

namespace {

using Message = zelmsg::ControlMessage;

Message message(Message::MessageType type)
{
    Message record;
    record.SetMessageType(type);
    return record;
}

QString text(std::string const& value) { return QString::fromStdString(value); }

Message streamMessage(Message::MessageType type, std::string const& streamName)
{
    Message record = message(type);
    record.SetStreamName(text(streamName));
    return record;
}

} // namespace

Message ControlMessageHelper::makeProcessorGroupManagerMessage(Message::MessageType type, std::string const& groupName)
{
    Message record = message(type);
    record.SetGroupName(text(groupName));
    return record;
}

Message ControlMessageHelper::makeCreateProcessorGroupMessage(std::string const& groupName)
{
    return makeProcessorGroupManagerMessage(Message::CreateGroup, groupName);
}

Message ControlMessageHelper::makeDeleteProcessorGroupMessage(std::string const& groupName)
{
    return makeProcessorGroupManagerMessage(Message::DeleteGroup, groupName);
}

Message ControlMessageHelper::makeQueryProcessorGroupsMessage()
{
    return makeProcessorGroupManagerMessage(Message::QueryGroups, std::string());
}

Message ControlMessageHelper::makeCreateProcessorMessage(
    std::string const& processorType, std::string const& processorName, zelmsg::Processor const& config)
{
    Message record = message(Message::Create);
    record.SetProcessorType(text(processorType));
    record.SetProcessorName(text(processorName));
    record.SetProcessor(config);
    return record;
}

Message ControlMessageHelper::makeDeleteProcessorMessage(std::string const& processorName)
{
    Message record = message(Message::Delete);
    record.SetProcessorName(text(processorName));
    return record;
}

Message ControlMessageHelper::makeQueryProcessorsMessage() { return message(Message::QueryProcessors); }

Message ControlMessageHelper::makeConnectStreamMessage(
    std::string const& streamName, std::string const& streamAddress, std::string const& filter)
{
    return makeConnectStreamMessage(
        streamName, streamAddress, filter.empty() ? std::vector<std::string>() : std::vector<std::string> { filter });
}

Message ControlMessageHelper::makeConnectStreamMessage(
    std::string const& streamName, std::string const& streamAddress, std::vector<std::string> const& filters)
{
    Message record = message(Message::Connect);
    record.SetStreamName(text(streamName));
    record.SetStreamAddress(text(streamAddress));
    for (std::string const& filter : filters)
        record.AppendMessageFilter(text(filter));
    return record;
}

Message ControlMessageHelper::makeQuerySourcesMessage() { return message(Message::QuerySources); }

Message ControlMessageHelper::makeQueryStreamsMessage() { return message(Message::QueryStreams); }

Message ControlMessageHelper::makeStartStreamMessage(std::string const& streamName)
{
    return streamMessage(Message::Start, streamName);
}

Message ControlMessageHelper::makeStopStreamMessage(std::string const& streamName)
{
    return streamMessage(Message::Stop, streamName);
}

Message ControlMessageHelper::makeSetParameterMessage(std::string const& parameterName, std::string const& value)
{
    Message record = message(Message::SetParameterMessage);
    record.SetParameterName(text(parameterName));
    record.SetParameter(text(value));
    return record;
}

Message ControlMessageHelper::makeGetParameterMessage(std::string const& parameterName)
{
    Message record = message(Message::GetParameterMessage);
    record.SetParameterName(text(parameterName));
    return record;
}

Message ControlMessageHelper::makeGetParameterListMessage() { return message(Message::GetParameterList); }

Message ControlMessageHelper::makeStartNewRecordingMessage(std::string const& value)
{
    Message record = message(Message::StartNewRecording);
    record.SetParameter(text(value));
    return record;
}

Message ControlMessageHelper::makeRegisterStreamMessage(
    std::string const& streamName, std::string const& processorName, std::string const& streamAddress)
{
    return makeRegisterStreamMessage(streamName, processorName, std::vector<std::string> { streamAddress });
}

Message ControlMessageHelper::makeRegisterStreamMessage(
    std::string const& streamName, std::string const& processorName, std::vector<std::string> const& streamAddresses)
{
    Message record = message(Message::RegisterStream);
    record.SetStreamName(text(streamName));
    record.SetProcessorName(text(processorName));
    record.SetStreamAddresses(toQStringVector(streamAddresses));
    return record;
}

Message ControlMessageHelper::makeDeregisterStreamMessage(std::string const& streamName)
{
    return streamMessage(Message::DeregisterStream, streamName);
}

Message ControlMessageHelper::makeResolveStreamMessage(std::string const& streamName)
{
    return streamMessage(Message::ResolveStream, streamName);
}

zel::ControlMessage ControlMessageHelper::makeMessageEnvelope(std::string const& address, Message const& record)
{
    zel::ControlMessage envelope;
    envelope.address = zel::nameFrame(address);
    envelope.payload = record.GetXmlString().toUtf8();
    return envelope;
}

zelmsg::Processor ControlMessageHelper::makeProcessorConfig(
    std::string const& streamName, std::string const& streamAddress)
{
    zelmsg::DataStream stream;
    stream.SetName(text(streamName));
    stream.AppendAddress(text(streamAddress));
    zelmsg::Processor config;
    config.AppendDataStream(stream);
    return config;
}

std::vector<std::string> ControlMessageHelper::fromQStringVector(QVector<QString> const& values)
{
    std::vector<std::string> result;
    result.reserve(static_cast<size_t>(values.size()));
    for (QString const& value : values)
        result.push_back(value.toStdString());
    return result;
}

QVector<QString> ControlMessageHelper::toQStringVector(std::vector<std::string> const& values)
{
    QVector<QString> result;
    result.reserve(static_cast<int>(values.size()));
    for (std::string const& value : values)
        result.append(QString::fromStdString(value));
    return result;
}

} // namespace zel
