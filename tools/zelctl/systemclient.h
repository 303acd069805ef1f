#pragma once

#include <zel/requestclienttemplate.h>
#include <zel/socketreader.h>
#include <zel/zelmsg/controlmessage.h>

#include <memory>
#include <string>

// What an exchange with the system came to.
enum class Outcome { Success, Failure, Timeout };

// The one way zelctl asks a running system: the library's request client at the router's frontend,
// keeping the envelope's address frame so that the router delivers each record to the identity it
// names.
class SystemClient
{
public:
    SystemClient(std::string const& address, int timeoutMs);

    // Sends `record` to `identity`; on an answer `record` becomes the reply. Connects on first use,
    // so that commands that never ask anything need no frontend.
    Outcome request(std::string const& identity, zelmsg::ControlMessage& record);
    std::string const& address() const { return frontend; }
    int timeout() const { return timeoutMs; }

private:
    using Client = zel::RequestClientTemplate<zmq::socket_t, zel::ZmqControlSocketTemplate<zel::ST>, zel::SocketReader>;

    std::string frontend;
    int timeoutMs;
    std::unique_ptr<Client> client; // null until the first request
};
