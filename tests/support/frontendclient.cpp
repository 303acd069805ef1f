#include "frontendclient.h"

#include <zel/controlmessagehelper.h>
#include <zel/decodecontrolrecord.h>

#include <gtest/gtest.h>

namespace zeltest {

FrontendClient::FrontendClient(std::string const& frontendAddress)
    : socket(connectClient(frontendAddress))
{ }

std::optional<zelmsg::ControlMessage> FrontendClient::request(
    std::string const& identity, zelmsg::ControlMessage const& record, std::chrono::milliseconds deadline)
{
    send(identity, record);
    return replyFrom(identity, deadline);
}

std::optional<zelmsg::ControlMessage> FrontendClient::requestRaw(
    std::string const& identity, std::string const& payload, std::chrono::milliseconds deadline)
{
    sendRaw(identity, payload);
    return replyFrom(identity, deadline);
}

void FrontendClient::send(std::string const& identity, zelmsg::ControlMessage const& record)
{
    QByteArray const payload = zel::ControlMessageHelper::makeMessageEnvelope(identity, record).payload;
    sendRaw(identity, payload.toStdString());
}

void FrontendClient::sendRaw(std::string const& identity, std::string const& payload)
{
    sendFrames(socket, { "", withNul(identity), payload });
}

std::optional<FrontendClient::Reply> FrontendClient::receive(std::chrono::milliseconds deadline)
{
    std::optional<Frames> frames;
    if (!waitUntil(
            [&] { return (frames = receiveFrames(socket, std::chrono::milliseconds(0))).has_value(); }, deadline))
        return std::nullopt;
    if (frames->size() != 3 || !(*frames)[0].empty() || (*frames)[1].empty() || (*frames)[1].back() != '\0') {
        ADD_FAILURE() << "a reply of " << frames->size() << " frames, not empty, identity, payload";
        return std::nullopt;
    }
    zel::ControlMessage envelope;
    envelope.payload = QByteArray::fromStdString((*frames)[2]);
    std::string source = (*frames)[1];
    source.pop_back();
    return Reply { source, zel::decodeControlRecord(envelope) };
}

std::optional<zelmsg::ControlMessage> FrontendClient::replyFrom(
    std::string const& identity, std::chrono::milliseconds deadline)
{
    auto reply = receive(deadline);
    if (!reply)
        return std::nullopt;
    if (reply->source != identity) {
        ADD_FAILURE() << "expected the reply of " << identity << ", got one from " << reply->source;
        return std::nullopt;
    }
    return reply->record;
}

testing::AssertionResult hostServes(std::string const& frontendAddress)
{
    FrontendClient client(frontendAddress);
    std::optional<zelmsg::ControlMessage> const reply
        = client.request(managerIdentity(), zel::ControlMessageHelper::makeQueryProcessorGroupsMessage());
    if (!reply || reply->GetResultType() != zelmsg::ControlMessage::Success)
        return testing::AssertionFailure() << "QueryGroups at " << frontendAddress << ": " << outcome(reply);
    return testing::AssertionSuccess();
}

std::string outcome(std::optional<zelmsg::ControlMessage> const& reply)
{
    if (!reply)
        return "no reply";
    if (!reply->IsResultTypeSet())
        return "no result";
    switch (reply->GetResultType()) {
    case zelmsg::ControlMessage::Success:
        return reply->IsParameterSet() ? "Success: " + reply->GetParameter().toStdString() : "Success";
    case zelmsg::ControlMessage::Warning:
        return "Warning: " + reply->GetMessageText().toStdString();
    case zelmsg::ControlMessage::Error:
        return "Error: " + reply->GetMessageText().toStdString();
    }
    return "result " + std::to_string(reply->GetResultType());
}

} // namespace zeltest
