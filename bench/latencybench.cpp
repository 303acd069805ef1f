// One hop's latency: from a publisher's send to the handler that receives the message, for a ZEL
// stream processor serving one message per wake-up ("zel") or up to 64 ("batched"), and for a bare
// ZeroMQ SUB in a blocking receive ("raw"); 64 B over inproc and TCP loopback. The publisher is a
// bare PUB that writes its steady clock into each message just before sending it, paced at
// `rate` messages per second, so that the figures are those of a stream that keeps up, not of a
// queue; the handler reads the clock again. Prints p50 and p99 per flow, in microseconds.

#include <zel/context.h>
#include <zel/controlmessagehelper.h>
#include <zel/endpoints.h>
#include <zel/environment.h>
#include <zel/requestclienttemplate.h>
#include <zel/socketreader.h>
#include <zel/streamprocessor.h>
#include <zel/zmqcontrollablethread.h>
#include <zel/zmqcontrolsockettemplate.h>

#include <QCoreApplication>

#include <zmq.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;
using Helper = zel::ControlMessageHelper;

constexpr int size = 64;
constexpr int rate = 10000;
constexpr int samples = 20000;
constexpr int warmUp = 1000; // left out: connections settling, caches filling
std::string const streamType = "numbers";

std::int64_t nowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

std::int64_t sentAt(char const* data)
{
    std::int64_t stamp = 0;
    std::memcpy(&stamp, data, sizeof stamp);
    return stamp;
}

// What the handler saw: one latency per message, in nanoseconds. Written by the receiving thread
// alone and read after it has ended.
using Latencies = std::vector<std::int64_t>;

// Publishes `count` stamped messages at the pace of `rate`, then stops.
void publish(zmq::socket_t& socket, int count)
{
    std::string data(size, 'x');
    auto next = Clock::now();
    for (int i = 0; i < count; ++i) {
        std::this_thread::sleep_until(next);
        next += std::chrono::nanoseconds(1000000000 / rate);
        std::int64_t const stamp = nowNs();
        std::memcpy(data.data(), &stamp, sizeof stamp);
        socket.send(zmq::buffer(streamType), zmq::send_flags::sndmore);
        socket.send(zmq::buffer(data), zmq::send_flags::none);
    }
}

zmq::socket_t bindPublisher(std::string& address)
{
    zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::pub);
    socket.set(zmq::sockopt::linger, 100); // libzmq 4.3 may abort closing a PUB with linger 0 mid-message
    socket.bind(address);
    address = socket.get(zmq::sockopt::last_endpoint);
    return socket;
}

// Sends stamped messages until the receiver has `samples` of them: a subscription takes a moment
// to reach the publisher, and what is sent before is lost.
template <class Count> void publishUntilCounted(zmq::socket_t& publisher, Count counted)
{
    auto const deadline = Clock::now() + 20s;
    while (counted() < samples) {
        if (Clock::now() > deadline)
            throw std::runtime_error("the receiver did not get enough messages");
        publish(publisher, 100);
    }
}

Latencies rawFlow(std::string address)
{
    zmq::socket_t publisher = bindPublisher(address);
    Latencies latencies;
    latencies.reserve(samples);
    std::atomic<int> got { 0 };
    std::thread subscriber([&] {
        zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::sub);
        socket.set(zmq::sockopt::linger, 0);
        socket.set(zmq::sockopt::subscribe, "");
        socket.set(zmq::sockopt::rcvtimeo, 100);
        socket.connect(address);
        zmq::message_t type;
        zmq::message_t data;
        while (got < samples) {
            if (!socket.recv(type))
                continue;
            (void)socket.recv(data);
            latencies.push_back(nowNs() - sentAt(data.data<char>()));
            got.fetch_add(1, std::memory_order_release);
        }
    });
    publishUntilCounted(publisher, [&] { return got.load(std::memory_order_acquire); });
    subscriber.join();
    return latencies;
}

// A stream processor that notes each message's latency in its handler.
class Probe : public zel::StreamProcessor
{
public:
    Probe(std::string const& group, int batch, Latencies& latencies, std::atomic<int>& got)
        : StreamProcessor(
            "probe", group, "probed", "inproc://latencybench-probed-" + group, zel::internalAddressPrefixDefault)
        , latencies(latencies)
        , got(got)
    {
        setInputBatchSize(batch);
    }

protected:
    void handleMessage(zel::ByteStreamMessage& message, zel::ZmqByteStreamInSocket*) override
    {
        if (static_cast<int>(latencies.size()) >= samples)
            return;
        latencies.push_back(nowNs() - sentAt(message.data.constData()));
        got.fetch_add(1, std::memory_order_release);
    }

private:
    Latencies& latencies;
    std::atomic<int>& got;
};

using Client = zel::RequestClientTemplate<zmq::socket_t, zel::ZmqControlSocketTemplate<zel::ST>, zel::SocketReader>;

void request(Client& client, std::string const& identity, zelmsg::ControlMessage record)
{
    if (!client.request(identity, record))
        throw std::runtime_error(identity + ": " + record.GetMessageText().toStdString());
}

Latencies zelFlow(zel::Environment& environment, std::string address, int batch)
{
    static int run = 0;
    std::string const group = "latency" + std::to_string(++run);
    std::string const prefix = zel::internalAddressPrefixDefault;
    Client client(environment.getRouterFrontendAddress(), true, 10000);
    request(client, zel::Endpoints::getGroupManagerEndpoint(prefix), Helper::makeCreateProcessorGroupMessage(group));
    zmq::socket_t publisher = bindPublisher(address);
    Latencies latencies;
    latencies.reserve(samples);
    std::atomic<int> got { 0 };
    {
        // Ends, and joins the processor's thread, before the latencies are read.
        zel::ZmqControllableThread<zel::ProcessorBase> probe(std::make_unique<Probe>(group, batch, latencies, got));
        request(client, zel::Endpoints::getProcessorEndpoint(group, "probe", prefix),
            Helper::makeConnectStreamMessage("in", address, std::vector<std::string>()));
        publishUntilCounted(publisher, [&] { return got.load(std::memory_order_acquire); });
    }
    request(client, zel::Endpoints::getGroupManagerEndpoint(prefix), Helper::makeDeleteProcessorGroupMessage(group));
    return latencies;
}

double percentile(Latencies sorted, double share)
{
    std::sort(sorted.begin(), sorted.end());
    auto const index = static_cast<size_t>(share * static_cast<double>(sorted.size() - 1));
    return static_cast<double>(sorted[index]) / 1000.0;
}

void row(char const* transport, char const* flow, Latencies latencies)
{
    latencies.erase(latencies.begin(), latencies.begin() + std::min<size_t>(warmUp, latencies.size()));
    std::printf("%-9s %-8s %8zu %9.1f %9.1f\n", transport, flow, latencies.size(), percentile(latencies, 0.5),
        percentile(latencies, 0.99));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    zel::Environment environment;
    std::printf("One hop, publisher's send to the handler, %d B at %d msg/s; microseconds.\n", size, rate);
    std::printf("%-9s %-8s %8s %9s %9s\n", "TRANSPORT", "FLOW", "SAMPLES", "P50_US", "P99_US");
    try {
        for (char const* transport : { "inproc", "tcp" }) {
            bool const inproc = std::strcmp(transport, "inproc") == 0;
            auto address = [&](char const* flow) {
                return inproc ? std::string("inproc://latencybench-") + flow : std::string("tcp://127.0.0.1:*");
            };
            row(transport, "raw", rawFlow(address("raw")));
            row(transport, "zel", zelFlow(environment, address("zel"), 1));
            row(transport, "batched", zelFlow(environment, address("batched"), 64));
        }
    } catch (std::exception const& e) {
        std::fprintf(stderr, "latencybench: %s\n", e.what());
        return 1;
    }
    return 0;
}
