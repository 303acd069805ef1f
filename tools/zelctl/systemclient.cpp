#include "systemclient.h"

SystemClient::SystemClient(std::string const& address, int timeoutMs)
    : frontend(address)
    , timeoutMs(timeoutMs)
{ }

Outcome SystemClient::request(std::string const& identity, zelmsg::ControlMessage& record)
{
    if (!client)
        client = std::make_unique<Client>(frontend, true, timeoutMs);
    if (!client->exchange(identity, record))
        return Outcome::Timeout;
    return record.GetResultType() == zelmsg::ControlMessage::Success ? Outcome::Success : Outcome::Failure;
}
