// Round trips of a stream resolve at a running name service's direct door, beside a raw REQ/ROUTER
// echo of the same payload size on inproc: what the service and its records cost over ZeroMQ.

#include <zel/context.h>
#include <zel/controlmessagehelper.h>
#include <zel/endpoints.h>
#include <zel/nameservice.h>
#include <zel/nameserviceclient.h>
#include <zel/zmqcontrollablethread.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace {

std::string const group = "namebench";
std::string const streamName = "bench-stream";
std::string const echoAddress = "inproc://namebench-echo";

// The bytes of a resolve request: what the client sends, and what the echo sends back.
std::string resolvePayload()
{
    return zel::ControlMessageHelper::makeResolveStreamMessage(streamName).GetXmlString().toUtf8().toStdString();
}

// Per-iteration round trips, reported as median and 99th percentile in microseconds; the rate
// counter gives requests per second.
class Latencies
{
public:
    explicit Latencies(benchmark::State& state)
        : state(state)
    {
        samples.reserve(1 << 20);
    }

    template <class Call> bool measure(Call call)
    {
        auto const start = std::chrono::steady_clock::now();
        bool const ok = call();
        samples.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
        return ok;
    }

    void report(std::size_t payloadBytes)
    {
        state.counters["requests/s"]
            = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
        state.counters["payload_bytes"] = static_cast<double>(payloadBytes);
        if (samples.empty())
            return;
        std::sort(samples.begin(), samples.end());
        state.counters["median_us"] = samples[samples.size() / 2];
        state.counters["p99_us"] = samples[samples.size() * 99 / 100];
    }

private:
    benchmark::State& state;
    std::vector<double> samples;
};

void nameServiceResolve(benchmark::State& state)
{
    zel::NameServiceClient client(
        zel::Endpoints::getInternalNameServiceEndpoint(group, zel::internalAddressPrefixDefault),
        zel::socketDefaultTimeout);
    Latencies latencies(state);
    std::string processor;
    std::vector<std::string> addresses;
    for (auto _ : state) {
        if (!latencies.measure([&] { return client.resolveStream(streamName, processor, addresses); })) {
            state.SkipWithError(client.getLastMessageText().c_str());
            break;
        }
    }
    latencies.report(resolvePayload().size());
}

// A ROUTER on its own thread that sends every request straight back.
class Echo
{
public:
    Echo()
    {
        socket.bind(echoAddress);
        worker = std::thread([this] { run(); });
    }
    ~Echo()
    {
        stop = true;
        worker.join();
    }

private:
    void run()
    {
        zmq::pollitem_t item { socket.handle(), 0, ZMQ_POLLIN, 0 };
        std::vector<zmq::message_t> frames;
        while (!stop) {
            if (zmq::poll(&item, 1, std::chrono::milliseconds(50)) == 0)
                continue;
            frames.clear();
            do {
                frames.emplace_back();
                (void)socket.recv(frames.back(), zmq::recv_flags::none);
            } while (frames.back().more());
            for (std::size_t i = 0; i < frames.size(); ++i)
                socket.send(frames[i], i + 1 < frames.size() ? zmq::send_flags::sndmore : zmq::send_flags::none);
        }
    }

    zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::router);
    std::atomic<bool> stop { false };
    std::thread worker;
};

void rawReqRouterEcho(benchmark::State& state)
{
    zmq::socket_t client = zel::Context::createSocket(zmq::socket_type::req);
    client.connect(echoAddress);
    std::string const payload = resolvePayload();
    Latencies latencies(state);
    zmq::message_t reply;
    for (auto _ : state) {
        bool const ok = latencies.measure([&] {
            client.send(zmq::buffer(payload), zmq::send_flags::none);
            return client.recv(reply, zmq::recv_flags::none) && reply.size() == payload.size();
        });
        if (!ok) {
            state.SkipWithError("echo lost");
            break;
        }
    }
    latencies.report(payload.size());
    client.set(zmq::sockopt::linger, 0);
}

} // namespace

BENCHMARK(nameServiceResolve)->Unit(benchmark::kMicrosecond)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(rawReqRouterEcho)->Unit(benchmark::kMicrosecond)->UseRealTime()->Repetitions(5)->ReportAggregatesOnly(true);

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    {
        // One service and one echo for the whole run; the service knows the stream to resolve.
        Echo echo;
        zel::ZmqControllableThread<zel::NameService> service(
            std::make_unique<zel::NameService>(group, zel::internalAddressPrefixDefault));
        zel::NameServiceClient setup(
            zel::Endpoints::getInternalNameServiceEndpoint(group, zel::internalAddressPrefixDefault),
            zel::socketDefaultTimeout);
        if (!setup.registerStream(streamName, "bench-processor", { "tcp://127.0.0.1:5555", "inproc://bench" }))
            return 1;
        benchmark::RunSpecifiedBenchmarks();
    }
    benchmark::Shutdown();
    return 0;
}
