#pragma once

#include "support/environmenttest.h"
#include "support/printers.h"

#include <string>
#include <vector>

namespace brtest {

using namespace std::chrono_literals;
using namespace zeltest;

// The source of a stream, as another processor would be: a PUB on loopback TCP.
class Publisher
{
public:
    Publisher()
    {
        socket.bind("tcp://127.0.0.1:*");
        address = socket.get(zmq::sockopt::last_endpoint);
    }

    void send(std::vector<std::string> const& frames) { sendFrames(socket, frames); }
    void send(std::string const& type, std::string const& data) { send({ type, data }); }

    // A subscriber misses what is sent before its subscription has reached this socket, so the
    // message goes out again every few milliseconds until `arrived` holds.
    template <class Condition> bool sendUntil(std::string const& type, std::string const& data, Condition arrived)
    {
        auto next = std::chrono::steady_clock::now();
        return waitUntil([&] {
            if (arrived())
                return true;
            if (std::chrono::steady_clock::now() >= next) {
                send(type, data);
                next = std::chrono::steady_clock::now() + 25ms;
            }
            return false;
        });
    }

    std::string address;

private:
    zmq::socket_t socket = makeSocket(zmq::socket_type::pub);
};

class BridgeTest : public EnvironmentTest
{
protected:
    void TearDown() override
    {
        // Deleted while this thread serves events: a server here can end a POST in flight.
        for (std::string const group : { "g", "h" })
            toManager(Helper::makeDeleteProcessorGroupMessage(group));
        EnvironmentTest::TearDown();
    }

    std::string connect(std::string const& processor, std::vector<std::string> const& filters)
    {
        return ask(processor, Helper::makeConnectStreamMessage("in", publisher.address, filters));
    }
    std::string start(std::string const& processor, std::string const& stream)
    {
        return ask(processor, Helper::makeStartStreamMessage(stream));
    }
    std::string stop(std::string const& processor, std::string const& stream)
    {
        return ask(processor, Helper::makeStopStreamMessage(stream));
    }

    Publisher publisher;
};

} // namespace brtest
