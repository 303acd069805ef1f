#pragma once

#include <zel/controlmessage.h>
#include <zel/zel_export.h>
#include <zel/zelmsg/controlmessage.h>

#include <string>
#include <vector>

namespace zel {

// Makes the control messages of the system, so that no client needs to know which fields belong to which
// message type. Strings are taken as UTF-8; an empty string sets a field to empty, not null.
class ZEL_EXPORT ControlMessageHelper
{
public:
    ControlMessageHelper() = delete;

    static zelmsg::ControlMessage makeProcessorGroupManagerMessage(
        zelmsg::ControlMessage::MessageType type, std::string const& groupName);
    static zelmsg::ControlMessage makeCreateProcessorGroupMessage(std::string const& groupName);
    static zelmsg::ControlMessage makeDeleteProcessorGroupMessage(std::string const& groupName);
    static zelmsg::ControlMessage makeQueryProcessorGroupsMessage();

    static zelmsg::ControlMessage makeCreateProcessorMessage(
        std::string const& processorType, std::string const& processorName, zelmsg::Processor const& config);
    static zelmsg::ControlMessage makeDeleteProcessorMessage(std::string const& processorName);
    static zelmsg::ControlMessage makeQueryProcessorsMessage();

    // An empty filter adds none: the processor then subscribes to everything.
    static zelmsg::ControlMessage makeConnectStreamMessage(
        std::string const& streamName, std::string const& streamAddress, std::string const& filter);
    static zelmsg::ControlMessage makeConnectStreamMessage(
        std::string const& streamName, std::string const& streamAddress, std::vector<std::string> const& filters);
    static zelmsg::ControlMessage makeQuerySourcesMessage();
    static zelmsg::ControlMessage makeQueryStreamsMessage();
    static zelmsg::ControlMessage makeStartStreamMessage(std::string const& streamName);
    static zelmsg::ControlMessage makeStopStreamMessage(std::string const& streamName);
    static zelmsg::ControlMessage makeSetParameterMessage(std::string const& parameterName, std::string const& value);
    static zelmsg::ControlMessage makeGetParameterMessage(std::string const& parameterName);
    static zelmsg::ControlMessage makeGetParameterListMessage();
    static zelmsg::ControlMessage makeStartNewRecordingMessage(std::string const& value);

    static zelmsg::ControlMessage makeRegisterStreamMessage(
        std::string const& streamName, std::string const& processorName, std::string const& streamAddress);
    static zelmsg::ControlMessage makeRegisterStreamMessage(std::string const& streamName,
        std::string const& processorName, std::vector<std::string> const& streamAddresses);
    static zelmsg::ControlMessage makeDeregisterStreamMessage(std::string const& streamName);
    static zelmsg::ControlMessage makeResolveStreamMessage(std::string const& streamName);

    // The envelope to `address` (its bytes and the terminating NUL) with the record's XML in UTF-8.
    static zel::ControlMessage makeMessageEnvelope(std::string const& address, zelmsg::ControlMessage const& record);
    // A configuration of one data stream with one address.
    static zelmsg::Processor makeProcessorConfig(std::string const& streamName, std::string const& streamAddress);

    static std::vector<std::string> fromQStringVector(QVector<QString> const& values);
    static QVector<QString> toQStringVector(std::vector<std::string> const& values);
};

} // namespace zel
