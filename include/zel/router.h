#pragma once

#include <zel/inputclient.h>
#include <zel/routerhandler.h>
#include <zel/sockettraits.h>
#include <zel/zmqcontrollable.h>
#include <zel/zmqroutersockettemplate.h>

#include <memory>
#include <string>

namespace zel {

// The door between clients (frontend) and services (internal socket). A message that arrives on
// one socket leaves on the other, addressed by the identity it names; the router keeps no table.
// Runs on its own thread; the constructor only stores the address.
class ZEL_EXPORT Router : public ZmqControllable
{
public:
    explicit Router(std::string const& frontendAddress);
    // `frontendAddress` receives the endpoint really bound, for whoever shares it.
    explicit Router(std::shared_ptr<std::string> frontendAddress);
    ~Router() override;

    bool initialize() override;
    void process() override;
    void release() override;

private:
    using RouterSocket = ZmqRouterSocketTemplate<ST>;
    using Client = ForwardingInputClient<RouterSocket, RouterMessage, RouterSocket>;

    std::shared_ptr<std::string> frontendAddress;
    std::unique_ptr<zmq::socket_t> frontendSocket;
    std::shared_ptr<RouterSocket> frontendWrapper;
    std::unique_ptr<Client> frontendClient;
    std::unique_ptr<RouterHandler<RouterSocket>> frontendHandler;
    int frontendIndex = -1;
    std::string internalAddress;
    std::unique_ptr<zmq::socket_t> internalSocket;
    std::shared_ptr<RouterSocket> internalWrapper;
    std::unique_ptr<Client> internalClient;
    std::unique_ptr<RouterHandler<RouterSocket>> internalHandler;
    int internalIndex = -1;
};

} // namespace zel
