#include <zel/nameserviceclient.h>

namespace zel {

NameServiceClient::NameServiceClient(std::string const& address, int timeout)
    : address(address)
    , client(std::make_shared<RequestClient>(address, false, timeout))
{ }

NameServiceClient::NameServiceClient(std::string const& address, std::shared_ptr<RequestClient> client)
    : address(address)
    , client(std::move(client))
{ }

bool NameServiceClient::registerStream(
    std::string const& name, std::string const& processorName, std::vector<std::string> const& addresses)
{
    zelmsg::ControlMessage record = ControlMessageHelper::makeRegisterStreamMessage(name, processorName, addresses);
    return client->request(address, record);
}

bool NameServiceClient::deregisterStream(std::string const& name)
{
    zelmsg::ControlMessage record = ControlMessageHelper::makeDeregisterStreamMessage(name);
    return client->request(address, record);
}

bool NameServiceClient::resolveStream(
    std::string const& name, std::string& processorName, std::vector<std::string>& addresses)
{
    return client->resolve(address, name, processorName, addresses);
}

std::string NameServiceClient::getLastMessageText() { return client->getLastMessageText(); }

} // namespace zel
