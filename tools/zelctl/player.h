#pragma once

#include <mcapreader.h>

#include <zmq.hpp>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// Publishes the channels of a recording, each on a socket of its own, with the recorded timing.
class Player
{
public:
    struct Options
    {
        double speed = 1; // 0: as fast as possible
        bool loop = false;
        int waitSubscriptions = 0; // held back until each socket has this many
    };

    // Binds a socket for each of `channels` (ids of the reader's) at `bind`.
    Player(zelmcap::McapReader& reader, std::vector<std::uint16_t> const& channels, std::string const& bind,
        Options options);
    ~Player();

    // The bound address of a channel's socket.
    std::string endpoint(std::uint16_t channel) const;
    // Plays until the end (or, looping, an interruption); returns false when interrupted first.
    bool run();

    std::uint64_t played() const { return messages; }

private:
    bool waitForSubscribers();
    // One pass over the file; false when interrupted.
    bool pass();
    bool waitUntil(std::uint64_t logTime);
    void serveSubscriptions();

    zelmcap::McapReader& reader;
    Options options;
    std::map<std::uint16_t, zmq::socket_t> sockets;
    std::map<std::uint16_t, int> subscriptions;
    std::uint64_t messages = 0;
    std::uint64_t firstLogTime = 0;
    std::int64_t passStart = 0; // steady clock, nanoseconds
    bool timed = false;
};
