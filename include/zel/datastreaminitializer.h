#pragma once

#include <zel/zel_export.h>

#include <zmq.hpp>

#include <string>

namespace zelmsg {
class DataStream;
}

namespace zel {

class NameServiceClient;

// Binds a publisher to every address of its stream and registers where the stream really lives.
// Holds references to its arguments, which must outlive it. On the publisher's thread; blocks.
class ZEL_EXPORT DataStreamInitializer
{
public:
    DataStreamInitializer(std::string const& endpoint, std::string const& processorName, NameServiceClient& client);

    // Binds `socket` to each address in order, writing the endpoint really bound back into
    // `stream`, then registers them all. ProcessorError when the name service refuses; a bind
    // failure leaves as zmq::error_t.
    void initialize(zmq::socket_t& socket, zelmsg::DataStream& stream);

private:
    std::string const& endpoint;
    std::string const& processorName;
    NameServiceClient& client;
};

} // namespace zel
