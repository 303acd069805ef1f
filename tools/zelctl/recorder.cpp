#include "recorder.h"

#include "interruption.h"

#include <framepair.h>

#include <zel/context.h>
#include <zel/zmqhelper.h>

#include <algorithm>

namespace {

using namespace std::chrono_literals;

// What one wake-up takes from a socket at most, so that a busy stream does not starve the others.
constexpr int batchMessages = 4096;
// Room for a disk that stalls a moment under a full-speed stream.
constexpr int receiveHighWater = 10000;

std::uint64_t nowNanoseconds()
{
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count());
}

std::uint64_t demoSequence(char const* data, std::size_t size)
{
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < 8 && i < size; ++i)
        value = value << 8 | static_cast<unsigned char>(data[i]);
    return value;
}

} // namespace

Recorder::Recorder(
    zelmcap::McapWriter& writer, std::vector<RecordedStream> const& streams, std::vector<std::string> const& filters)
    : writer(writer)
    , channelTotals(streams.size())
{
    for (RecordedStream const& stream : streams) {
        channelIds.push_back(writer.addChannel(stream.group + "/" + stream.stream, zelmcap::FramePair::encoding,
            { { "group", stream.group }, { "stream", stream.stream }, { "processor", stream.processor },
                { "address", stream.address } }));
        zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::sub);
        socket.set(zmq::sockopt::linger, 0);
        socket.set(zmq::sockopt::rcvhwm, receiveHighWater);
        zel::ZmqHelper::connectSocket(socket, stream.address); // with the keys, when zelctl has them
        for (std::string const& filter : filters)
            socket.set(zmq::sockopt::subscribe, filter);
        if (filters.empty())
            socket.set(zmq::sockopt::subscribe, "");
        sockets.push_back(std::move(socket));
    }
}

void Recorder::run(Limits const& limits)
{
    std::vector<zmq::pollitem_t> items;
    for (zmq::socket_t& socket : sockets)
        items.push_back({ socket.handle(), 0, ZMQ_POLLIN, 0 });
    while (!interrupted()) {
        auto wait = std::chrono::milliseconds(100); // short, so that a signal ends the recording soon
        if (limits.deadline) {
            auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(
                *limits.deadline - std::chrono::steady_clock::now());
            if (left <= 0ms)
                return;
            wait = std::min(wait, left + 1ms);
        }
        try {
            if (zmq::poll(items, wait) == 0)
                continue;
        } catch (zmq::error_t const& e) {
            if (e.num() == EINTR)
                continue;
            throw;
        }
        for (std::size_t channel = 0; channel < items.size(); ++channel) {
            if ((items[channel].revents & ZMQ_POLLIN) && !drain(channel, limits))
                return;
        }
    }
}

bool Recorder::drain(std::size_t channel, Limits const& limits)
{
    zmq::socket_t& socket = sockets[channel];
    zmq::message_t type;
    zmq::message_t data;
    zmq::message_t extra;
    for (int n = 0; n < batchMessages; ++n) {
        if (!socket.recv(type, zmq::recv_flags::dontwait))
            return true;
        // The frames of one message arrive together; a third and more are not part of a stream message.
        bool const hasData = type.more() && socket.recv(data).has_value();
        if (!hasData)
            data.rebuild(std::size_t(0));
        for (bool more = data.more(); more; more = extra.more())
            (void)socket.recv(extra);
        // Receive times never go back within a file, even when the wall clock does.
        lastLogTime = std::max(lastLogTime, nowNanoseconds());
        zelmcap::FramePair::encodeHead(head, type.data<char>(), type.size());
        Totals& totals = channelTotals[channel];
        writer.write(channelIds[channel], static_cast<std::uint32_t>(totals.messages), lastLogTime, lastLogTime, head,
            std::string_view(data.data<char>(), data.size()));
        count(channel, data.data<char>(), data.size());
        if (limits.count > 0 && total >= limits.count)
            return false;
    }
    return true;
}

void Recorder::count(std::size_t channel, char const* data, std::size_t size)
{
    Totals& totals = channelTotals[channel];
    ++totals.messages;
    ++total;
    totals.bytes += size;
    if (size < 8)
        return;
    std::uint64_t const sequence = demoSequence(data, size);
    if (totals.lastSequence && sequence != *totals.lastSequence + 1)
        ++totals.gaps;
    totals.lastSequence = sequence;
}
