#include "floodclient.h"

#include "rawpeers.h"

namespace zeltest {

FloodClient::FloodClient(std::string frontendAddress, std::string destination, std::string payload, int count,
    std::chrono::milliseconds sendTimeout)
    : thread([=] { run(frontendAddress, destination, payload, count, sendTimeout); })
{ }

FloodClient::~FloodClient() { wait(); }

int FloodClient::wait()
{
    if (thread.joinable())
        thread.join();
    return sent;
}

void FloodClient::run(std::string const& frontendAddress, std::string const& destination, std::string const& payload,
    int count, std::chrono::milliseconds sendTimeout)
{
    zmq::socket_t socket = connectClient(frontendAddress);
    socket.set(zmq::sockopt::sndtimeo, static_cast<int>(sendTimeout.count()));
    std::string const address = withNul(destination);
    for (int i = 0; i < count; ++i) {
        // Once the first frame is taken the others are too: a message goes whole or not at all.
        if (!socket.send(zmq::const_buffer(nullptr, 0), zmq::send_flags::sndmore))
            break;
        socket.send(zmq::buffer(address), zmq::send_flags::sndmore);
        socket.send(zmq::buffer(payload), zmq::send_flags::none);
        ++sent;
    }
    done = true;
}

} // namespace zeltest
