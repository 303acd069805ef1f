// The control plane's costs: one request through the router to a processor and back, beside the
// same exchange over bare ZeroMQ sockets with one forwarding thread; and making and deleting 100
// processors in a group.

#include <zel/context.h>
#include <zel/controlmessagehelper.h>
#include <zel/decodecontrolrecord.h>
#include <zel/endpoints.h>
#include <zel/environment.h>
#include <zel/plugin.h>
#include <zel/pluginmanager.h>
#include <zel/processorbase.h>
#include <zel/processorinfo.h>
#include <zel/zmqframe.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>

#include <zmq.hpp>

#include <algorithm>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Helper = zel::ControlMessageHelper;

// Answers everything at once and does nothing.
class Quiet : public zel::ProcessorBase
{
public:
    explicit Quiet(zel::ProcessorInfo const& info)
        : ProcessorBase(info.configuration, info.processorName, info.groupName, info.addressPrefix)
    { }

protected:
    bool connect(QString const&, QString const&, QVector<QString> const&) override { return true; }
    bool start(QString const&) override { return true; }
    bool stop(QString const&) override { return true; }
    bool setParameter(QString const&, QString const&) override { return true; }
    bool getParameter(QString const&, QString&) override { return true; }
    bool getParameterList(QStringList&) override { return true; }
    bool startNewRecording(QString&) override { return true; }
};

class BenchPlugin : public zel::Plugin
{
public:
    QString getName() const override { return QStringLiteral("bench"); }
    QStringList getProcessorTypes() const override { return { QStringLiteral("Quiet") }; }
    zel::ProcessorBase* createProcessor(zel::ProcessorInfo const& info) override { return new Quiet(info); }
};

std::string withNul(std::string const& name) { return zel::nameFrame(name).toStdString(); }

using Frames = std::vector<zmq::message_t>;

Frames receiveAll(zmq::socket_t& socket)
{
    Frames frames;
    do {
        frames.emplace_back();
        (void)socket.recv(frames.back(), zmq::recv_flags::none);
    } while (frames.back().more());
    return frames;
}

// Sending empties the frames.
void sendAll(zmq::socket_t& socket, Frames& frames)
{
    for (size_t i = 0; i < frames.size(); ++i)
        socket.send(frames[i], i + 1 < frames.size() ? zmq::send_flags::sndmore : zmq::send_flags::none);
}

// A DEALER at a frontend: empty, the target's identity, the payload; and the reply's frames.
class Requester
{
public:
    explicit Requester(zmq::socket_t socket)
        : socket(std::move(socket))
    { }

    Frames exchange(std::string const& identity, std::string const& payload)
    {
        socket.send(zmq::message_t(), zmq::send_flags::sndmore);
        socket.send(zmq::buffer(withNul(identity)), zmq::send_flags::sndmore);
        socket.send(zmq::buffer(payload), zmq::send_flags::none);
        return receiveAll(socket);
    }

    // False when no reply came within the time.
    bool tryExchange(std::string const& identity, std::string const& payload, std::chrono::milliseconds time)
    {
        socket.send(zmq::message_t(), zmq::send_flags::sndmore);
        socket.send(zmq::buffer(withNul(identity)), zmq::send_flags::sndmore);
        socket.send(zmq::buffer(payload), zmq::send_flags::none);
        zmq::pollitem_t item { socket.handle(), 0, ZMQ_POLLIN, 0 };
        if (zmq::poll(&item, 1, time) == 0)
            return false;
        receiveAll(socket);
        return true;
    }

    zelmsg::ControlMessage request(std::string const& identity, zelmsg::ControlMessage const& record)
    {
        Frames reply = exchange(identity, Helper::makeMessageEnvelope(identity, record).payload.toStdString());
        zel::ControlMessage envelope;
        envelope.payload = QByteArray(reply.back().data<char>(), static_cast<int>(reply.back().size()));
        return zel::decodeControlRecord(envelope);
    }

    void expectSuccess(std::string const& identity, zelmsg::ControlMessage const& record)
    {
        zelmsg::ControlMessage const reply = request(identity, record);
        if (reply.GetResultType() != zelmsg::ControlMessage::Success)
            throw std::runtime_error("refused: " + reply.GetMessageText().toStdString());
    }

private:
    zmq::socket_t socket;
};

// The system under measure, one for the whole run: a router's internal endpoint is freed only some
// time after its Environment has gone.
struct System
{
    System()
    {
        plugins->registerPlugin(&plugin);
        environment = std::make_unique<zel::Environment>(plugins, zel::routerFrontendAddressDefault);
        zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::dealer);
        socket.connect(environment->getRouterFrontendAddress());
        client = std::make_unique<Requester>(std::move(socket));
    }

    BenchPlugin plugin;
    std::shared_ptr<zel::PluginManager> plugins = std::make_shared<zel::PluginManager>();
    std::unique_ptr<zel::Environment> environment;
    std::unique_ptr<Requester> client;
};

std::unique_ptr<System> zelSystem;

std::string const prefix = zel::internalAddressPrefixDefault;
std::string const groupManager = zel::Endpoints::getGroupManagerEndpoint(prefix);

// The payload of the round trips, raw and through ZEL alike.
std::string const requestPayload
    = Helper::makeMessageEnvelope("", Helper::makeGetParameterListMessage()).payload.toStdString();

template <class Exchange> void measureRoundTrips(benchmark::State& state, Exchange exchange)
{
    for (int i = 0; i < 1000; ++i)
        exchange();
    std::vector<double> micros;
    micros.reserve(static_cast<size_t>(state.max_iterations));
    for (auto _ : state) {
        auto const begin = Clock::now();
        exchange();
        micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
    }
    std::sort(micros.begin(), micros.end());
    state.counters["median_us"] = micros[micros.size() / 2];
    state.counters["p99_us"] = micros[micros.size() * 99 / 100];
}

void BM_ControlRoundTrip(benchmark::State& state)
{
    std::string const group = zel::Endpoints::getGroupEndpoint("rt", prefix);
    std::string const processor = zel::Endpoints::getProcessorEndpoint("rt", "p", prefix);
    Requester& client = *zelSystem->client;
    client.expectSuccess(groupManager, Helper::makeCreateProcessorGroupMessage("rt"));
    client.expectSuccess(group, Helper::makeCreateProcessorMessage("bench.Quiet", "p", {}));
    client.expectSuccess(processor, Helper::makeGetParameterListMessage());

    measureRoundTrips(state, [&] { benchmark::DoNotOptimize(client.exchange(processor, requestPayload)); });

    client.expectSuccess(groupManager, Helper::makeDeleteProcessorGroupMessage("rt"));
}

// What a processor adds to a round trip besides the sockets: read the request, write the reply.
void BM_ProcessorCodec(benchmark::State& state)
{
    zel::ControlMessage envelope;
    envelope.payload = QByteArray::fromStdString(requestPayload);
    for (auto _ : state) {
        zelmsg::ControlMessage record = zel::decodeControlRecord(envelope);
        record.SetParameter(QString(QLatin1String("")));
        record.SetResultType(zelmsg::ControlMessage::Success);
        benchmark::DoNotOptimize(record.GetXmlString().toUtf8());
    }
}

// Bare ZeroMQ in the router's shape: a client DEALER, a frontend and an internal ROUTER served by one
// forwarding thread, and a DEALER that echoes on a thread of its own. Each thread ends after passing
// on a message whose payload is "stop".
void forward(zmq::context_t& context, std::string const& frontAddress, std::string const& backAddress)
{
    zmq::socket_t front(context, zmq::socket_type::router);
    zmq::socket_t back(context, zmq::socket_type::router);
    front.set(zmq::sockopt::router_mandatory, 1);
    back.set(zmq::sockopt::router_mandatory, 1);
    front.bind(frontAddress);
    back.bind(backAddress);
    zmq::pollitem_t items[] = { { back.handle(), 0, ZMQ_POLLIN, 0 }, { front.handle(), 0, ZMQ_POLLIN, 0 } };
    for (;;) {
        zmq::poll(items, 2, std::chrono::milliseconds(-1));
        if (items[0].revents & ZMQ_POLLIN) {
            // service, empty, client, payload -> client, empty, service, payload
            Frames frames = receiveAll(back);
            std::swap(frames[0], frames[2]);
            bool const last = frames.back().to_string_view() == "stop";
            sendAll(front, frames);
            if (last)
                return;
        }
        if (items[1].revents & ZMQ_POLLIN) {
            // client, empty, service, payload -> service, empty, client, payload
            Frames frames = receiveAll(front);
            std::swap(frames[0], frames[2]);
            try {
                sendAll(back, frames);
            } catch (zmq::error_t const&) {
                // No such service (yet): dropped, as the router does.
            }
        }
    }
}

void echo(zmq::context_t& context, std::string const& backAddress, std::string const& identity)
{
    zmq::socket_t socket(context, zmq::socket_type::dealer);
    socket.set(zmq::sockopt::routing_id, identity);
    socket.connect(backAddress);
    for (;;) {
        Frames frames = receiveAll(socket);
        bool const last = frames.back().to_string_view() == "stop";
        sendAll(socket, frames);
        if (last)
            return;
    }
}

void BM_RawEcho(benchmark::State& state)
{
    zmq::context_t context(1);
    std::string const front = "inproc://raw/front";
    std::string const back = "inproc://raw/back";
    std::string const service = "raw/echo";
    std::thread forwarder(forward, std::ref(context), front, back);
    std::thread echoer(echo, std::ref(context), back, withNul(service));

    zmq::socket_t socket(context, zmq::socket_type::dealer);
    socket.connect(front);
    Requester client(std::move(socket));
    // The echo service may not have reached the internal ROUTER yet: ask until it answers.
    while (!client.tryExchange(service, requestPayload, std::chrono::seconds(1))) { }

    measureRoundTrips(state, [&] { benchmark::DoNotOptimize(client.exchange(service, requestPayload)); });

    client.exchange(service, "stop");
    echoer.join();
    forwarder.join();
}

void BM_CreateDelete100Processors(benchmark::State& state)
{
    std::string const group = zel::Endpoints::getGroupEndpoint("cd", prefix);
    Requester& client = *zelSystem->client;
    client.expectSuccess(groupManager, Helper::makeCreateProcessorGroupMessage("cd"));
    double createMs = 0;
    double deleteMs = 0;
    for (auto _ : state) {
        auto const begin = Clock::now();
        for (int i = 0; i < 100; ++i)
            client.expectSuccess(group, Helper::makeCreateProcessorMessage("bench.Quiet", "p" + std::to_string(i), {}));
        auto const created = Clock::now();
        for (int i = 0; i < 100; ++i)
            client.expectSuccess(group, Helper::makeDeleteProcessorMessage("p" + std::to_string(i)));
        createMs += std::chrono::duration<double, std::milli>(created - begin).count();
        deleteMs += std::chrono::duration<double, std::milli>(Clock::now() - created).count();
    }
    state.counters["create100_ms"] = createMs / static_cast<double>(state.iterations());
    state.counters["delete100_ms"] = deleteMs / static_cast<double>(state.iterations());
    client.expectSuccess(groupManager, Helper::makeDeleteProcessorGroupMessage("cd"));
}

} // namespace

BENCHMARK(BM_ControlRoundTrip)->Iterations(20000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RawEcho)->Iterations(20000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ProcessorCodec)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_CreateDelete100Processors)->Iterations(5)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    zelSystem = std::make_unique<System>();
    benchmark::RunSpecifiedBenchmarks();
    zelSystem.reset();
    benchmark::Shutdown();
    return 0;
}
