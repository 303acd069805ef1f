#pragma once

#include <mcapwriter.h>

#include <zmq.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Where a recorded stream comes from.
struct RecordedStream
{
    std::string group;
    std::string stream;
    std::string processor; // the one that registered it
    std::string address; // the TCP address subscribed to
};

// Subscribes to streams and writes what they carry into an MCAP file, one channel per stream, each
// message with its receive time and a sequence of its channel.
class Recorder
{
public:
    struct Limits
    {
        std::uint64_t count = 0; // messages over all streams; 0: no limit
        std::optional<std::chrono::steady_clock::time_point> deadline;
    };

    // What went through one channel; gaps are jumps in the running number a demo Generator puts
    // in the first 8 bytes of its data, big-endian.
    struct Totals
    {
        std::uint64_t messages = 0;
        std::uint64_t bytes = 0; // of the data frames
        std::uint64_t gaps = 0;
        std::optional<std::uint64_t> lastSequence;
    };

    // Adds a channel per stream to `writer` and connects a SUB socket to each.
    Recorder(zelmcap::McapWriter& writer, std::vector<RecordedStream> const& streams,
        std::vector<std::string> const& filters);

    // Receives and writes until a limit is reached or an interruption is requested.
    void run(Limits const& limits);

    std::vector<Totals> const& totals() const { return channelTotals; }
    std::uint64_t messages() const { return total; }

private:
    // Writes what one socket holds, up to a batch; false when the count was reached.
    bool drain(std::size_t channel, Limits const& limits);
    void count(std::size_t channel, char const* data, std::size_t size);

    zelmcap::McapWriter& writer;
    std::vector<zmq::socket_t> sockets;
    std::vector<std::uint16_t> channelIds;
    std::vector<Totals> channelTotals;
    std::uint64_t total = 0;
    std::uint64_t lastLogTime = 0;
    std::string head; // of each message, reused
};
