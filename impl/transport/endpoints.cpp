#include <zel/endpoints.h>

namespace zel {

std::string const internalAddressPrefixDefault = "inproc://zel";
std::string const routerFrontendAddressDefault = internalAddressPrefixDefault + "/__router__external__";
int const socketDefaultTimeout = 4000;
int const socketInfiniteTimeout = -1;

namespace {

std::string join(std::string const& prefix, std::string const& name) { return prefix + "/" + name; }

} // namespace

std::string Endpoints::getInternalRouterEndpoint(std::string const& addressPrefix)
{
    return join(addressPrefix, "__router__internal__");
}

std::string Endpoints::getGroupManagerEndpoint(std::string const& addressPrefix) { return addressPrefix; }

std::string Endpoints::getGroupEndpoint(std::string const& groupName, std::string const& addressPrefix)
{
    return join(addressPrefix, groupName);
}

std::string Endpoints::getGroupBroadcastEndpoint(std::string const& groupName, std::string const& addressPrefix)
{
    return join(getGroupEndpoint(groupName, addressPrefix), "broadcast");
}

std::string Endpoints::getNameServiceEndpoint(std::string const& groupName, std::string const& addressPrefix)
{
    return join(getGroupEndpoint(groupName, addressPrefix), "nameservice");
}

std::string Endpoints::getInternalNameServiceEndpoint(std::string const& groupName, std::string const& addressPrefix)
{
    return join(getGroupEndpoint(groupName, addressPrefix), "__nameservice__internal__");
}

std::string Endpoints::getProcessorEndpoint(
    std::string const& groupName, std::string const& processorName, std::string const& addressPrefix)
{
    return join(getGroupEndpoint(groupName, addressPrefix), processorName);
}

std::string Endpoints::getInprocStreamEndpoint(std::string const& groupName, std::string const& processorName,
    std::string const& streamName, std::string const& addressPrefix)
{
    return join(getProcessorEndpoint(groupName, processorName, addressPrefix), streamName);
}

} // namespace zel
