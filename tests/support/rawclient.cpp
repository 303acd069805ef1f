#include "rawclient.h"

#include <zel/controlmessagehelper.h>
#include <zel/endpoints.h>

namespace zeltest {

RawClient::RawClient(std::string const& frontendAddress)
    : socket(connectClient(frontendAddress))
{ }

void RawClient::send(std::string const& destination, std::string const& payload)
{
    sendFrames(socket, { "", withNul(destination), payload });
}

std::optional<std::string> RawClient::receive(std::chrono::milliseconds deadline)
{
    std::optional<Frames> const reply = receiveFrames(socket, deadline);
    if (!reply || reply->size() != 3)
        return std::nullopt;
    return reply->back();
}

std::optional<std::string> RawClient::request(
    std::string const& destination, std::string const& payload, std::chrono::milliseconds deadline)
{
    send(destination, payload);
    return receive(deadline);
}

std::optional<zelmsg::ControlMessage> RawClient::request(
    std::string const& destination, zelmsg::ControlMessage const& record, std::chrono::milliseconds deadline)
{
    std::optional<std::string> const reply
        = request(destination, record.GetXmlString().toUtf8().toStdString(), deadline);
    if (!reply)
        return std::nullopt;
    return readRecord(*reply);
}

std::string RawClient::groupManager()
{
    return zel::Endpoints::getGroupManagerEndpoint(zel::internalAddressPrefixDefault);
}

std::string RawClient::group(std::string const& groupName)
{
    return zel::Endpoints::getGroupEndpoint(groupName, zel::internalAddressPrefixDefault);
}

std::string RawClient::processor(std::string const& groupName, std::string const& processorName)
{
    return zel::Endpoints::getProcessorEndpoint(groupName, processorName, zel::internalAddressPrefixDefault);
}

zelmsg::ControlMessage readRecord(std::string const& payload)
{
    zelmsg::ControlMessage record;
    record.SetXmlString(QString::fromStdString(payload), false);
    return record;
}

testing::AssertionResult hostServes(std::string const& frontendAddress)
{
    RawClient client(frontendAddress);
    std::optional<zelmsg::ControlMessage> const reply
        = client.request(RawClient::groupManager(), zel::ControlMessageHelper::makeQueryProcessorGroupsMessage());
    if (!reply)
        return testing::AssertionFailure() << "no answer to QueryGroups at " << frontendAddress;
    if (reply->GetResultType() != zelmsg::ControlMessage::Success)
        return testing::AssertionFailure() << "QueryGroups answered " << reply->GetXmlString().toStdString();
    return testing::AssertionSuccess();
}

} // namespace zeltest
