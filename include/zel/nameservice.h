#pragma once

#include <zel/controlmessage.h>
#include <zel/inputclient.h>
#include <zel/sockettraits.h>
#include <zel/zmqcontrollable.h>
#include <zel/zmqcontrolsockettemplate.h>

#include <memory>
#include <string>

namespace zel {

template <class Socket, class Store> class NameServiceHandlerTemplate;

// Stream names to addresses for one group, behind two doors to one store: a ROUTER socket at the
// group's internal name service endpoint (REQ clients), and a DEALER behind the router under the
// name service's routable name. Runs on its own thread; the constructor only stores the names.
class ZEL_EXPORT NameService : public ZmqControllable
{
public:
    NameService(std::string const& groupName, std::string const& addressPrefix);
    ~NameService() override;

    bool initialize() override;
    void process() override;
    void release() override;

private:
    using ControlSocket = ZmqControlSocketTemplate<ST>;
    using Handler = MessageHandler<ControlSocket, ControlMessage>;
    using Client = InputClientBase<ControlSocket, ControlMessage>;

    std::unique_ptr<Handler> handler;
    std::string addressPrefix;
    std::string groupName;
    std::unique_ptr<zmq::socket_t> routedSocket;
    std::unique_ptr<Client> routedClient;
    int routedIndex = -1;
    std::unique_ptr<zmq::socket_t> directSocket;
    std::unique_ptr<Client> directClient;
    int directIndex = -1;
};

} // namespace zel
