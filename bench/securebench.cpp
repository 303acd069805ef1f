// What CURVE costs: a demo Generator at rate 0 publishing over TCP loopback to a demo Counter that
// serves 64 messages per wake-up, plain and secured, at 64 B, 1 KiB and 64 KiB; and one control round
// trip through a TCP frontend to the group manager, plain and secured. Each case runs an Environment
// of its own, secured ones with a ZAP handler and the process's CURVE turned on for their lifetime.
// Stream figures are messages per second received over windows of 100 ms, and the best window's;
// the cases of one size run side by side, twice, so a change of load between them counts less.

#include "demoflow.h"

#include <zel/controlmessagehelper.h>
#include <zel/curvekeys.h>
#include <zel/curvesecurity.h>
#include <zel/endpoints.h>
#include <zel/environment.h>
#include <zel/zaphandler.h>
#include <zel/zmqcontrollablethread.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto window = 100ms;
constexpr int windows = 20;

// CURVE on for as long as it lives: one key pair, which is also the one client let in.
class Secured
{
public:
    Secured()
        : keys(zel::CurveKeys::generate())
        , zap(std::make_unique<zel::ZapHandler>(std::set<std::string> { keys.publicKey }))
    {
        zel::CurveSecurity::enable(keys, keys.publicKey);
    }
    ~Secured() { zel::CurveSecurity::disable(); }

private:
    zel::CurveKeyPair keys;
    zel::ZmqControllableThread<zel::ZapHandler> zap;
};

// An Environment with a TCP frontend, secured or not, and a client of it.
struct System
{
    explicit System(bool secure)
    {
        if (secure)
            security.emplace();
        environment = std::make_unique<zel::Environment>("tcp://127.0.0.1:*");
        client = std::make_unique<DemoFlow::Client>(environment->getRouterFrontendAddress(), true, 10000);
    }
    ~System()
    {
        client.reset();
        environment.reset();
    }

    std::optional<Secured> security; // first on, last off
    std::unique_ptr<zel::Environment> environment;
    std::unique_ptr<DemoFlow::Client> client;
};

// Best windows by size, plain and secured.
std::map<int, double> bestPlain;
std::map<int, double> bestSecured;

void streamFlow(benchmark::State& state, int size, bool secure)
{
    try {
        System system(secure);
        DemoFlow demo(*system.client, "bench", "tcp://127.0.0.1:*", 64, size);
        std::this_thread::sleep_for(window); // into the steady state
        double seconds = 0;
        double best = 0;
        std::uint64_t before = demo.counted();
        std::uint64_t total = 0;
        auto start = Clock::now();
        for (auto _ : state) {
            std::this_thread::sleep_for(window);
            std::uint64_t const now = demo.counted();
            auto const end = Clock::now();
            double const took = std::chrono::duration<double>(end - start).count();
            state.SetIterationTime(took);
            seconds += took;
            total += now - before;
            best = std::max(best, static_cast<double>(now - before) / took);
            before = now;
            start = end;
        }
        state.counters["msg/s"] = static_cast<double>(total) / seconds;
        state.counters["MB/s"] = static_cast<double>(total) * (size + 7) / seconds / 1e6;
        state.counters["best msg/s"] = best;
        double& kept = (secure ? bestSecured : bestPlain)[size];
        kept = std::max(kept, best);
    } catch (std::exception const& e) {
        state.SkipWithError(e.what());
    }
}

void controlRoundTrip(benchmark::State& state, bool secure)
{
    System system(secure);
    std::string const manager = zel::Endpoints::getGroupManagerEndpoint(zel::internalAddressPrefixDefault);
    for (auto _ : state)
        DemoFlow::request(*system.client, manager, zel::ControlMessageHelper::makeQueryProcessorGroupsMessage());
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    for (int round = 0; round < 2; ++round) {
        for (int const size : { 64, 1024, 65536 }) {
            for (bool const secure : { false, true }) {
                std::string const label
                    = std::string("stream/tcp/") + std::to_string(size) + "B/batched/" + (secure ? "curve" : "plain");
                benchmark::RegisterBenchmark(label.c_str(), streamFlow, size, secure)
                    ->UseManualTime()
                    ->Iterations(windows)
                    ->Unit(benchmark::kMillisecond);
            }
        }
    }
    for (bool const secure : { false, true })
        benchmark::RegisterBenchmark(
            secure ? "control/roundtrip/curve" : "control/roundtrip/plain", controlRoundTrip, secure)
            ->Iterations(20000)
            ->Unit(benchmark::kMicrosecond);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();

    std::printf("\n%6s %12s %12s %14s\n", "SIZE", "PLAIN_MSG_S", "CURVE_MSG_S", "CURVE_OVER_PLAIN");
    for (auto const& [size, plain] : bestPlain) {
        double const curve = bestSecured[size];
        std::printf("%6d %12.0f %12.0f %14.2f\n", size, plain, curve, plain > 0 ? curve / plain : 0.0);
    }
    return 0;
}
