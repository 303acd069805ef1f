// Stream throughput in one process: a demo Generator at rate 0 publishing to a demo Counter that
// serves one message per wake-up ("zel") or 64 ("batched"), beside bare ZeroMQ PUB/SUB with the
// same two frames (type, data) between two threads ("raw"), and beside a bare loop of the
// processor's shape, one zmq_poll over four sockets per message ("poll"), the floor of one message
// per wake-up. Sizes 64 B, 1 KiB and 64 KiB, over inproc and TCP loopback. What counts is what
// reaches the subscriber: a PUB drops what a slow subscriber cannot take, so the sender's rate is
// shown beside it (sent/s).
//
// Each iteration is a window of 100 ms of a flow that runs all along; the figures are messages and
// megabytes (10^6, type and data frames) per second received, over all windows, and the best
// window's rate. Two summaries of the best windows follow the table: ZEL beside raw, and one
// message per wake-up beside its floor. On two cores a flow's rate depends on where its threads
// land, which can change from one flow to the next, so every flow runs in each of three rounds, a
// ratio is taken within one round between flows run side by side, and a summary row shows the
// round whose ratio is the median.

#include "demoflow.h"

#include <zel/context.h>
#include <zel/environment.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>

#include <zmq.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto window = 100ms;
constexpr int windows = 20;
std::string const streamType = "numbers";

enum class Transport { Inproc, Tcp };

char const* name(Transport transport) { return transport == Transport::Inproc ? "inproc" : "tcp"; }

enum class Flow { Raw, Poll, Zel, Batched };

char const* name(Flow flow)
{
    char const* const names[] = { "raw", "poll", "zel", "batched" };
    return names[int(flow)];
}

constexpr int rounds = 3;

// The best window's received messages per second, by transport and size, for the summary: on a
// machine that others load, the least disturbed window tells most about what a flow can do.
struct Rates
{
    double of[4] = {};
    double operator[](Flow flow) const { return of[int(flow)]; }
};
std::map<std::pair<int, int>, Rates[rounds]> received;

// What a run of windows counted.
struct Totals
{
    double seconds = 0;
    std::uint64_t messages = 0;
    std::uint64_t sent = 0;
    double best = 0; // received per second in the best window
};

void report(benchmark::State& state, Totals const& totals, Transport transport, int size, Flow flow, int round)
{
    double const perSecond = static_cast<double>(totals.messages) / totals.seconds;
    state.counters["msg/s"] = perSecond;
    state.counters["MB/s"] = perSecond * (size + static_cast<double>(streamType.size())) / 1e6;
    state.counters["sent/s"] = static_cast<double>(totals.sent) / totals.seconds;
    state.counters["best msg/s"] = totals.best;
    received[{ int(transport), size }][round].of[int(flow)] = totals.best;
}

double ratio(double over, double under) { return under > 0 ? over / under : 0.0; }

// The round whose over/under ratio is the median of the rounds'.
Rates const& medianRound(Rates const (&byRound)[rounds], Flow over, Flow under)
{
    int order[rounds];
    for (int round = 0; round < rounds; ++round)
        order[round] = round;
    auto const ratioOf = [&](int round) { return ratio(byRound[round][over], byRound[round][under]); };
    std::nth_element(order, order + rounds / 2, order + rounds, [&](int a, int b) { return ratioOf(a) < ratioOf(b); });
    return byRound[order[rounds / 2]];
}

// Measures windows of a running flow; `sample` gives (received, sent) so far.
template <class Sample> Totals measure(benchmark::State& state, Sample sample)
{
    Totals totals;
    auto [receivedBefore, sentBefore] = sample();
    auto before = Clock::now();
    for (auto _ : state) {
        std::this_thread::sleep_for(window);
        auto const [receivedNow, sentNow] = sample();
        auto const now = Clock::now();
        double const seconds = std::chrono::duration<double>(now - before).count();
        state.SetIterationTime(seconds);
        totals.seconds += seconds;
        totals.messages += receivedNow - receivedBefore;
        totals.best = std::max(totals.best, static_cast<double>(receivedNow - receivedBefore) / seconds);
        totals.sent += sentNow - sentBefore;
        receivedBefore = receivedNow;
        sentBefore = sentNow;
        before = now;
    }
    return totals;
}

// --- Bare ZeroMQ ---------------------------------------------------------------------------------

// Takes one message of two frames, if one is there.
bool receiveOne(zmq::socket_t& socket, zmq::message_t& type, zmq::message_t& data)
{
    if (!socket.recv(type))
        return false;
    (void)socket.recv(data);
    return true;
}

// Receives as fast as ZeroMQ delivers.
void rawLoop(zmq::socket_t& socket, std::atomic<bool>& stop, std::atomic<std::uint64_t>& got)
{
    socket.set(zmq::sockopt::rcvtimeo, 100);
    zmq::message_t type;
    zmq::message_t data;
    while (!stop.load(std::memory_order_relaxed)) {
        if (receiveOne(socket, type, data))
            got.fetch_add(1, std::memory_order_relaxed);
    }
}

// A processor's loop without ZEL: one zmq_poll over the control, management, broadcast and data
// sockets, then one message.
void pollLoop(zmq::socket_t& socket, std::atomic<bool>& stop, std::atomic<std::uint64_t>& got)
{
    zmq::socket_t control = zel::Context::createSocket(zmq::socket_type::pair);
    zmq::socket_t management = zel::Context::createSocket(zmq::socket_type::dealer);
    zmq::socket_t broadcast = zel::Context::createSocket(zmq::socket_type::sub);
    zmq::pollitem_t items[] = { { control.handle(), 0, ZMQ_POLLIN, 0 }, { management.handle(), 0, ZMQ_POLLIN, 0 },
        { broadcast.handle(), 0, ZMQ_POLLIN, 0 }, { socket.handle(), 0, ZMQ_POLLIN, 0 } };
    zmq::message_t type;
    zmq::message_t data;
    while (!stop.load(std::memory_order_relaxed)) {
        zmq::poll(items, 4, std::chrono::milliseconds(100));
        if (items[3].revents != 0 && receiveOne(socket, type, data))
            got.fetch_add(1, std::memory_order_relaxed);
    }
}

void bareFlow(benchmark::State& state, Transport transport, int size, Flow flow, int round)
{
    static int run = 0;
    std::string address
        = transport == Transport::Inproc ? "inproc://streambench-raw-" + std::to_string(++run) : "tcp://127.0.0.1:*";
    std::atomic<bool> stop { false };
    std::atomic<std::uint64_t> sent { 0 };
    std::atomic<std::uint64_t> got { 0 };
    std::atomic<bool> bound { false };

    std::thread publisher([&] {
        zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::pub);
        // Not 0: libzmq 4.3 aborts (session_base.cpp:260) when a PUB with linger 0 closes while its
        // TCP session is halfway through a two-frame message and the peer goes away.
        socket.set(zmq::sockopt::linger, 100);
        socket.bind(address);
        address = socket.get(zmq::sockopt::last_endpoint);
        bound = true;
        std::string const data(static_cast<size_t>(size), 'x');
        while (!stop.load(std::memory_order_relaxed)) {
            socket.send(zmq::buffer(streamType), zmq::send_flags::sndmore);
            socket.send(zmq::buffer(data), zmq::send_flags::none);
            sent.fetch_add(1, std::memory_order_relaxed);
        }
    });
    while (!bound)
        std::this_thread::yield();
    std::thread subscriber([&] {
        zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::sub);
        socket.set(zmq::sockopt::linger, 0);
        socket.set(zmq::sockopt::subscribe, "");
        socket.connect(address);
        (flow == Flow::Poll ? pollLoop : rawLoop)(socket, stop, got);
    });
    while (got == 0)
        std::this_thread::yield();
    std::this_thread::sleep_for(window); // into the steady state

    Totals const totals = measure(state, [&] { return std::make_pair(got.load(), sent.load()); });
    stop = true;
    subscriber.join();
    publisher.join();
    report(state, totals, transport, size, flow, round);
}

// --- ZEL: Generator to Counter -------------------------------------------------------------------

// One Environment for the program; processors come from demo.dll beside it.
struct System
{
    zel::Environment environment;
    DemoFlow::Client client { environment.getRouterFrontendAddress(), true, 10000 };
};

std::unique_ptr<System> systemInstance;

System& zel()
{
    if (!systemInstance)
        systemInstance = std::make_unique<System>();
    return *systemInstance;
}

void zelFlow(benchmark::State& state, Transport transport, int size, Flow flow, int round)
{
    static int run = 0;
    std::string const group = "bench" + std::to_string(++run);
    try {
        std::string const address
            = transport == Transport::Inproc ? "inproc://streambench-" + group : "tcp://127.0.0.1:*";
        DemoFlow demo(zel().client, group, address, flow == Flow::Batched ? 64 : 1, size);
        std::this_thread::sleep_for(window); // into the steady state
        Totals const totals = measure(state, [&] { return std::make_pair(demo.counted(), demo.sent()); });
        report(state, totals, transport, size, flow, round);
    } catch (std::exception const& e) {
        state.SkipWithError(e.what());
    }
}

void registerFlows(int round)
{
    for (Transport const transport : { Transport::Inproc, Transport::Tcp }) {
        for (int const size : { 64, 1024, 65536 }) {
            // Each next to what it is compared with, so that a change of load between them counts less.
            for (Flow const flow : { Flow::Raw, Flow::Batched, Flow::Zel, Flow::Poll }) {
                std::string const label
                    = std::string("stream/") + name(transport) + "/" + std::to_string(size) + "B/" + name(flow);
                bool const bare = flow == Flow::Raw || flow == Flow::Poll;
                benchmark::RegisterBenchmark(label.c_str(), bare ? bareFlow : zelFlow, transport, size, flow, round)
                    ->UseManualTime()
                    ->Iterations(windows)
                    ->Unit(benchmark::kMillisecond);
            }
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    for (int round = 0; round < rounds; ++round)
        registerFlows(round);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    systemInstance.reset();

    std::printf("\n%-9s %6s %10s %10s %13s %16s\n", "TRANSPORT", "SIZE", "RAW_MSG_S", "ZEL_MSG_S", "BATCHED_MSG_S",
        "BATCHED_OVER_RAW");
    for (auto const& [key, byRound] : received) {
        Rates const& rates = medianRound(byRound, Flow::Batched, Flow::Raw);
        std::printf("%-9s %6d %10.0f %10.0f %13.0f %16.2f\n", name(Transport(key.first)), key.second, rates[Flow::Raw],
            rates[Flow::Zel], rates[Flow::Batched], ratio(rates[Flow::Batched], rates[Flow::Raw]));
    }
    std::printf("\nOne message per wake-up beside its floor, a bare zmq_poll loop of the same shape:\n");
    std::printf("%-9s %6s %10s %10s %13s\n", "TRANSPORT", "SIZE", "POLL_MSG_S", "ZEL_MSG_S", "ZEL_OVER_POLL");
    for (auto const& [key, byRound] : received) {
        Rates const& rates = medianRound(byRound, Flow::Zel, Flow::Poll);
        std::printf("%-9s %6d %10.0f %10.0f %13.2f\n", name(Transport(key.first)), key.second, rates[Flow::Poll],
            rates[Flow::Zel], ratio(rates[Flow::Zel], rates[Flow::Poll]));
    }
    return 0;
}
