#pragma once

#include <zel/requestclienttemplate.h>
#include <zel/socketreader.h>
#include <zel/sockettraits.h>
#include <zel/zel_export.h>
#include <zel/zmqcontrolsockettemplate.h>

#include <memory>
#include <string>
#include <vector>

namespace zel {

// The typed face of a group's name service. Copies share the request client, and so its socket:
// they stay on the thread that made the first. Calls block that thread for one request each.
class ZEL_EXPORT NameServiceClient
{
public:
    using RequestClient = RequestClientTemplate<zmq::socket_t, ZmqControlSocketTemplate<ST>, SocketReader>;

    // Connects a REQ client straight to the service at `address`; `timeout` in ms, -1 for none.
    NameServiceClient(std::string const& address, int timeout);
    // Takes over a request client; `address` goes into each envelope, which matters only for a
    // client that keeps the address frame (one talking through the router).
    NameServiceClient(std::string const& address, std::shared_ptr<RequestClient> client);

    // Each true when the service answered Success; otherwise getLastMessageText says why.
    bool registerStream(
        std::string const& name, std::string const& processorName, std::vector<std::string> const& addresses);
    bool deregisterStream(std::string const& name);
    // Writes the two out arguments only on success.
    bool resolveStream(std::string const& name, std::string& processorName, std::vector<std::string>& addresses);

    std::string getLastMessageText();

private:
    std::string address;
    std::shared_ptr<RequestClient> client;
};

} // namespace zel
