#pragma once

#include <zel/requestclienttemplate.h>
#include <zel/socketreader.h>
#include <zel/zmqcontrolsockettemplate.h>

#include <cstdint>
#include <string>

// A demo Generator at rate 0 publishing at an address to a demo Counter, in a group of its own,
// made through a client of an Environment's frontend. Steps the system refuses throw
// std::runtime_error.
class DemoFlow
{
public:
    using Client = zel::RequestClientTemplate<zmq::socket_t, zel::ZmqControlSocketTemplate<zel::ST>, zel::SocketReader>;

    // Returns once the Counter, serving `batch` messages per wake-up, has counted something.
    DemoFlow(Client& client, std::string group, std::string const& address, int batch, int size);
    // Deletes the group.
    ~DemoFlow();
    DemoFlow(DemoFlow const&) = delete;
    DemoFlow& operator=(DemoFlow const&) = delete;

    std::uint64_t counted() { return value(counter, "count"); }
    std::uint64_t sent() { return value(generator, "sent"); }

    // One request that has to succeed; the reply.
    static zelmsg::ControlMessage request(Client& client, std::string const& identity, zelmsg::ControlMessage record);

private:
    std::uint64_t value(std::string const& processor, std::string const& parameter);

    Client& client;
    std::string group;
    std::string generator;
    std::string counter;
};
