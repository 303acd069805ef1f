#include <zel/controlmessagehelper.h>
#include <zel/decodecontrolrecord.h>
#include <zel/zelmsg/controlmessage.h>

#include <benchmark/benchmark.h>

namespace {

zelmsg::ControlMessage createMessage()
{
    zelmsg::DataSource source;
    source.SetProtocol(zelmsg::DataSource::Sub);
    source.SetAddress(QStringLiteral("tcp://127.0.0.1:5555"));
    source.SetByteOrder(zelmsg::DataSource::Host);
    source.AppendFilter(QStringLiteral("frames"));
    zelmsg::DataStream stream;
    stream.SetName(QStringLiteral("out1"));
    stream.SetProtocol(zelmsg::DataStream::Pub);
    stream.AppendAddress(QStringLiteral("inproc://out1"));
    stream.SetRunning(false);
    zelmsg::Processor config;
    config.SetID(QStringLiteral("p7"));
    config.SetProcessorType(QStringLiteral("recorder"));
    config.AppendDataSource(source);
    config.AppendDataStream(stream);
    return zel::ControlMessageHelper::makeCreateProcessorMessage("recorder", "p7", config);
}

void xmlRoundTrip(benchmark::State& state)
{
    zelmsg::ControlMessage const message = createMessage();
    for (auto _ : state) {
        zelmsg::ControlMessage decoded;
        decoded.SetXmlString(message.GetXmlString(), false);
        benchmark::DoNotOptimize(decoded);
    }
}

// The road of a control message: envelope with UTF-8 payload, and back.
void xmlEnvelopeRoundTrip(benchmark::State& state)
{
    zelmsg::ControlMessage const message = createMessage();
    for (auto _ : state) {
        zelmsg::ControlMessage const decoded
            = zel::decodeControlRecord(zel::ControlMessageHelper::makeMessageEnvelope("group", message));
        benchmark::DoNotOptimize(decoded);
    }
}

void taggedBinaryRoundTrip(benchmark::State& state)
{
    zelmsg::ControlMessage const message = createMessage();
    for (auto _ : state) {
        QByteArray const bytes = message.GetBinaryRepresentationAsQByteArray();
        zelmsg::ControlMessage decoded;
        decoded.SetBinaryRepresentation(bytes);
        benchmark::DoNotOptimize(decoded);
    }
}

} // namespace

BENCHMARK(xmlRoundTrip)->Unit(benchmark::kMicrosecond);
BENCHMARK(xmlEnvelopeRoundTrip)->Unit(benchmark::kMicrosecond);
BENCHMARK(taggedBinaryRoundTrip)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
