#include "controlclient.h"

ControlClient::ControlClient(std::string const& address, int timeoutMs)
    : frontend(address)
    , timeoutMs(timeoutMs)
{ }

Outcome ControlClient::request(std::string const& identity, zelmsg::ControlMessage& record)
{
    if (!client)
        client = std::make_unique<Client>(frontend, true, timeoutMs);
    client->send(identity, record);
    if (!client->waitForReply()) {
        client->rebuild(); // drops the unanswered request, so that exit does not wait for it
        return Outcome::Timeout;
    }
    client->receive(record);
    return record.GetResultType() == zelmsg::ControlMessage::Success ? Outcome::Success : Outcome::Failure;
}
