// Recording throughput: a bare XPUB over TCP loopback that never drops (it waits while its
// subscriber is full) feeds either a bare SUB that only counts ("raw") or the recorder of zelctl
// record writing an MCAP file ("record", and "record zstd" with compressed chunks). What reaches
// the subscriber per second is what that subscriber can take. Sizes 64 B and 64 KiB; each flow runs
// three times for two seconds and the median run is shown, with the recorder's share of raw.
// usage: recordbench [SECONDS]

#include "recorder.h"

#include <mcapcompression.h>
#include <mcapwriter.h>

#include <zel/context.h>

#include <QTemporaryDir>

#include <zmq.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr int runs = 3;

// Publishes numbered two-frame messages as fast as its subscriber takes them, until stopped. The
// socket lives on the publishing thread.
class Publisher
{
public:
    explicit Publisher(int size)
        : data(static_cast<std::size_t>(size), 'x')
    {
        std::promise<std::string> bound;
        std::future<std::string> endpoint = bound.get_future();
        thread = std::thread([this, &bound] { publish(bound); });
        address = endpoint.get();
    }

    ~Publisher()
    {
        running = false;
        thread.join();
    }

    std::string address;

private:
    void publish(std::promise<std::string>& bound)
    {
        zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::xpub);
        socket.set(zmq::sockopt::xpub_nodrop, 1);
        socket.set(zmq::sockopt::linger, 100);
        socket.bind("tcp://127.0.0.1:*");
        bound.set_value(socket.get(zmq::sockopt::last_endpoint));
        zmq::message_t subscription;
        while (running && !socket.recv(subscription, zmq::recv_flags::dontwait))
            std::this_thread::sleep_for(1ms); // nothing to publish to yet
        std::uint64_t sequence = 0;
        while (running) {
            for (int i = 0; i < 8; ++i)
                data[static_cast<std::size_t>(i)] = static_cast<char>(sequence >> (56 - 8 * i));
            if (!socket.send(zmq::buffer(type), zmq::send_flags::sndmore | zmq::send_flags::dontwait)) {
                std::this_thread::yield(); // the subscriber is full
                continue;
            }
            socket.send(zmq::buffer(data), zmq::send_flags::none);
            ++sequence;
        }
    }

    std::string type = "numbers";
    std::string data;
    std::atomic<bool> running { true };
    std::thread thread;
};

struct Run
{
    double messagesPerSecond = 0;
    double megabytesPerSecond = 0;
    std::uint64_t gaps = 0;
};

// A SUB that drains and counts, as a subscriber that does nothing else would.
Run raw(std::string const& address, int size, double seconds)
{
    zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::sub);
    socket.set(zmq::sockopt::linger, 0);
    socket.connect(address);
    socket.set(zmq::sockopt::subscribe, "");
    std::uint64_t messages = 0;
    zmq::message_t frame;
    auto const end = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < end) {
        zmq::pollitem_t item { socket.handle(), 0, ZMQ_POLLIN, 0 };
        if (zmq::poll(&item, 1, 100ms) == 0)
            continue;
        for (int n = 0; n < 4096 && socket.recv(frame, zmq::recv_flags::dontwait); ++n) {
            while (frame.more())
                (void)socket.recv(frame);
            ++messages;
        }
    }
    return { double(messages) / seconds, double(messages) * (7 + size) / seconds / 1e6, 0 };
}

Run record(std::string const& address, int size, double seconds, std::string const& compression)
{
    QTemporaryDir dir;
    zelmcap::McapWriter writer(dir.filePath("bench.mcap").toStdString(), { "zel", "recordbench", compression });
    Recorder recorder(writer, { { "bench", "numbers", "publisher", address } }, {});
    Recorder::Limits limits;
    auto const started = Clock::now();
    limits.deadline = started + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    recorder.run(limits);
    writer.close();
    double const took = std::chrono::duration<double>(Clock::now() - started).count();
    std::uint64_t const messages = recorder.messages();
    return { double(messages) / took, double(messages) * (7 + size) / took / 1e6, recorder.totals()[0].gaps };
}

template <class Flow> Run median(Flow const& flow, int size)
{
    std::vector<Run> results;
    for (int i = 0; i < runs; ++i) {
        Publisher publisher(size);
        results.push_back(flow(publisher.address));
    }
    std::sort(results.begin(), results.end(),
        [](Run const& a, Run const& b) { return a.messagesPerSecond < b.messagesPerSecond; });
    return results[runs / 2];
}

} // namespace

int main(int argc, char** argv)
{
    double const seconds = argc > 1 ? std::atof(argv[1]) : 2.0;
    std::printf("%-8s %-12s %14s %10s %6s %8s\n", "size", "flow", "msg/s", "MB/s", "gaps", "of raw");
    for (int const size : { 64, 64 * 1024 }) {
        Run const base = median([&](std::string const& a) { return raw(a, size, seconds); }, size);
        std::printf("%-8d %-12s %14.0f %10.1f %6s %8s\n", size, "raw", base.messagesPerSecond, base.megabytesPerSecond,
            "-", "-");
        for (std::string const compression : { "", "zstd" }) {
            if (!zelmcap::McapCompression::available(compression))
                continue;
            Run const r = median([&](std::string const& a) { return record(a, size, seconds, compression); }, size);
            std::printf("%-8d %-12s %14.0f %10.1f %6llu %7.0f%%\n", size,
                compression.empty() ? "record" : "record zstd", r.messagesPerSecond, r.megabytesPerSecond,
                static_cast<unsigned long long>(r.gaps), 100 * r.messagesPerSecond / base.messagesPerSecond);
        }
    }
    return 0;
}
