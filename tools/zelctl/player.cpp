#include "player.h"

#include "interruption.h"

#include <framepair.h>

#include <zel/context.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace {

using namespace std::chrono_literals;

// Long enough for the last messages to leave when the player closes: libzmq 4.3 aborts when a
// PUB with linger 0 closes halfway through a two-frame message over TCP.
constexpr int lingerMs = 1000;

std::int64_t steadyNanoseconds()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// The end of a stop is never more than this away, so that Ctrl-C stops a slow recording soon.
constexpr auto longestSleep = 50ms;

} // namespace

Player::Player(
    zelmcap::McapReader& reader, std::vector<std::uint16_t> const& channels, std::string const& bind, Options options)
    : reader(reader)
    , options(options)
{
    for (std::uint16_t channel : channels) {
        // XPUB, so that the player sees its subscribers arrive.
        zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::xpub);
        socket.set(zmq::sockopt::linger, lingerMs);
        socket.set(zmq::sockopt::xpub_verbose, 1);
        socket.bind(bind);
        sockets.emplace(channel, std::move(socket));
        subscriptions[channel] = 0;
    }
}

Player::~Player() = default;

std::string Player::endpoint(std::uint16_t channel) const
{
    return sockets.at(channel).get(zmq::sockopt::last_endpoint);
}

void Player::serveSubscriptions()
{
    for (auto& [channel, socket] : sockets) {
        zmq::message_t message;
        while (socket.recv(message, zmq::recv_flags::dontwait)) {
            if (message.size() > 0)
                subscriptions[channel] += message.data<unsigned char>()[0] == 1 ? 1 : -1;
        }
    }
}

bool Player::waitForSubscribers()
{
    auto ready = [this] {
        return std::all_of(subscriptions.begin(), subscriptions.end(),
            [this](auto const& entry) { return entry.second >= options.waitSubscriptions; });
    };
    while (!interrupted()) {
        serveSubscriptions();
        if (ready())
            return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

bool Player::waitUntil(std::uint64_t logTime)
{
    if (options.speed <= 0)
        return !interrupted();
    if (!timed) {
        timed = true;
        firstLogTime = logTime;
        passStart = steadyNanoseconds();
    }
    double const offset = logTime > firstLogTime ? double(logTime - firstLogTime) / options.speed : 0.0;
    std::int64_t const due = passStart + static_cast<std::int64_t>(offset);
    for (std::int64_t now = steadyNanoseconds(); now < due; now = steadyNanoseconds()) {
        if (interrupted())
            return false;
        std::this_thread::sleep_for(
            std::min<std::chrono::nanoseconds>(std::chrono::nanoseconds(due - now), longestSleep));
    }
    return !interrupted();
}

bool Player::pass()
{
    timed = false;
    std::string type;
    std::string data;
    // The file was checked before anything was published: a failure here is a file that changed.
    return reader.scan([&](zelmcap::Message const& message) {
        auto const socket = sockets.find(message.channelId);
        if (socket == sockets.end())
            return true;
        if (!waitUntil(message.logTime))
            return false;
        zelmcap::FramePair::decode(message.data, message.size, type, data);
        socket->second.send(zmq::const_buffer(type.data(), type.size()), zmq::send_flags::sndmore);
        socket->second.send(zmq::const_buffer(data.data(), data.size()), zmq::send_flags::none);
        ++messages;
        return true;
    });
}

bool Player::run()
{
    if (options.waitSubscriptions > 0 && !waitForSubscribers())
        return false;
    do {
        if (!pass())
            return false;
    } while (options.loop);
    return true;
}
