// Starts an environment in this process, asks the group manager for its groups through the
// router's frontend, and stops again.

#include <zel/zel.h>

#include <cstdio>

int main()
{
    zel::Environment environment;
    using Client = zel::RequestClientTemplate<zmq::socket_t, zel::ZmqControlSocketTemplate<zel::ST>, zel::SocketReader>;
    Client client(environment.getRouterFrontendAddress(), true, zel::socketDefaultTimeout);
    zelmsg::ControlMessage query = zel::ControlMessageHelper::makeQueryProcessorGroupsMessage();
    bool const answered
        = client.request(zel::Endpoints::getGroupManagerEndpoint(zel::internalAddressPrefixDefault), query);
    std::printf("groups: '%s' (%s)\n", qPrintable(query.GetParameter()), answered ? "answered" : "no answer");
    return answered ? 0 : 1;
}
