#include "record.h"

#include "fileerror.h"
#include "identities.h"
#include "interruption.h"
#include "recorder.h"
#include "reply.h"
#include "streamaddress.h"

#include <mcapcompression.h>
#include <mcapwriter.h>

#include <zel/controlmessagehelper.h>
#include <zel/version.h>

#include <QDateTime>

#include <chrono>
#include <cmath>

namespace {

struct RecordOptions
{
    QString file;
    Recorder::Limits limits;
    double seconds = 0;
    std::string compression;
    std::size_t chunkSize = zelmcap::WriterOptions().chunkSize;
};

bool parseOptions(Invocation& call, RecordOptions& options)
{
    options.file = call.line.value(QStringLiteral("-o"), call.line.value(QStringLiteral("--output")));
    bool ok = true;
    options.limits.count = call.line.value(QStringLiteral("--count"), QStringLiteral("0")).toULongLong(&ok);
    bool durationOk = true;
    options.seconds = call.line.value(QStringLiteral("--duration"), QStringLiteral("0")).toDouble(&durationOk);
    QString const compression = call.line.value(QStringLiteral("--compression"), QStringLiteral("none"));
    options.compression = compression == QLatin1String("none") ? std::string() : compression.toStdString();
    if (options.file.isEmpty() || call.args.size() % 2 != 0) {
        err(QStringLiteral("usage: zelctl record -o FILE GROUP STREAM [GROUP STREAM ...]"));
        return false;
    }
    bool chunkOk = true;
    options.chunkSize
        = call.line.value(QStringLiteral("--chunk-size"), QString::number(options.chunkSize)).toUInt(&chunkOk);
    if (!ok || (call.line.has(QStringLiteral("--count")) && options.limits.count == 0) || !durationOk
        || options.seconds < 0 || !std::isfinite(options.seconds) || !chunkOk || options.chunkSize == 0) {
        err(QStringLiteral("--count takes a number above 0, --duration seconds, --chunk-size bytes"));
        return false;
    }
    if (!zelmcap::McapCompression::available(options.compression)) {
        err(QStringLiteral("--compression takes none%1")
                .arg(zelmcap::McapCompression::available("zstd") ? QStringLiteral(" or zstd") : QString()));
        return false;
    }
    return true;
}

// Asks each group's name service where its stream is; false with the exit code when one fails.
bool resolveStreams(Invocation& call, std::vector<RecordedStream>& streams, int& exitCode)
{
    for (int i = 0; i < call.args.size(); i += 2) {
        std::string const group = call.args[i].toStdString();
        std::string const stream = call.args[i + 1].toStdString();
        zelmsg::ControlMessage resolve = zel::ControlMessageHelper::makeResolveStreamMessage(stream);
        std::string const nameService = Identities::nameService(call.args[i]);
        Outcome const outcome = call.client.request(nameService, resolve);
        if (outcome != Outcome::Success) {
            exitCode = conclude(call, nameService, outcome, resolve, printNothing);
            return false;
        }
        QString const address = StreamAddress::dialable(
            resolve.GetStreamAddresses(), QString::fromStdString(call.client.address()), false);
        if (!address.startsWith(QLatin1String("tcp://"))) {
            err(QStringLiteral("stream %1/%2 has no TCP address to record from").arg(call.args[i], call.args[i + 1]));
            exitCode = ExitFailure;
            return false;
        }
        streams.push_back({ group, stream, resolve.GetProcessorName().toStdString(), address.toStdString() });
    }
    return true;
}

void report(Recorder const& recorder, std::vector<RecordedStream> const& streams, double seconds, QString const& file,
    std::uint64_t size)
{
    std::uint64_t bytes = 0;
    std::uint64_t gaps = 0;
    for (Recorder::Totals const& totals : recorder.totals()) {
        bytes += totals.bytes;
        gaps += totals.gaps;
    }
    out(QStringLiteral("recorded %1 messages, %2 bytes, %3 gaps in %4 s to %5 (%6 bytes)")
            .arg(recorder.messages())
            .arg(bytes)
            .arg(gaps)
            .arg(seconds, 0, 'f', 2)
            .arg(file)
            .arg(size));
    for (std::size_t i = 0; i < streams.size(); ++i) {
        Recorder::Totals const& totals = recorder.totals()[i];
        out(QStringLiteral("  %1/%2  %3 messages  %4 bytes  %5 gaps")
                .arg(QString::fromStdString(streams[i].group), QString::fromStdString(streams[i].stream))
                .arg(totals.messages)
                .arg(totals.bytes)
                .arg(totals.gaps));
    }
}

} // namespace

int record(Invocation& call)
{
    RecordOptions options;
    if (!parseOptions(call, options))
        return ExitUsage;
    std::vector<RecordedStream> streams;
    int exitCode = ExitSuccess;
    if (!resolveStreams(call, streams, exitCode))
        return exitCode;
    std::vector<std::string> filters;
    for (QString const& filter : call.line.values(QStringLiteral("--filter")))
        filters.push_back(filter.toStdString());

    auto const started = std::chrono::steady_clock::now();
    if (options.seconds > 0)
        options.limits.deadline = started
            + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                std::chrono::duration<double>(options.seconds));
    std::string const path = options.file.toStdString();
    catchInterruption(); // before the file exists, so that whoever sees it can stop the recording
    try {
        zelmcap::McapWriter writer(
            path, { "zel", "zelctl " ZEL_VERSION_STRING, options.compression, options.chunkSize });
        writer.addMetadata("zel",
            { { "zel_version", ZEL_VERSION_STRING }, { "hosts", call.client.address() },
                { "started", QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs).toStdString() } });
        Recorder recorder(writer, streams, filters);
        recorder.run(options.limits);
        writer.close();
        double const seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
        report(recorder, streams, seconds, options.file, writer.bytesWritten());
    } catch (zelmcap::McapError const& e) {
        return fileError(options.file, e);
    }
    return ExitSuccess;
}
