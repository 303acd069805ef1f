#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace zeltest {

// A client at a zelhost's frontend that sends one request over and over and never reads an answer,
// on a thread of its own (its socket lives and dies there), as a careless or hostile client would.
class FloodClient
{
public:
    // Starts sending `count` times empty, `destination` with its NUL, `payload`. A send that stays
    // blocked for `sendTimeout` ends the flood early: the host no longer takes requests.
    FloodClient(std::string frontendAddress, std::string destination, std::string payload, int count,
        std::chrono::milliseconds sendTimeout = std::chrono::seconds(20));
    // Waits for the flood to end.
    ~FloodClient();
    FloodClient(FloodClient const&) = delete;
    FloodClient& operator=(FloodClient const&) = delete;

    bool finished() const { return done; }
    // Waits for the end; the number of requests that went out. The socket is closed by then.
    int wait();

private:
    void run(std::string const& frontendAddress, std::string const& destination, std::string const& payload, int count,
        std::chrono::milliseconds sendTimeout);

    std::atomic<int> sent { 0 };
    std::atomic<bool> done { false };
    std::thread thread;
};

} // namespace zeltest
