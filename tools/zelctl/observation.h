#pragma once

#include "topology.h"

#include <QHash>
#include <QJsonObject>
#include <QString>
#include <QVector>

#include <chrono>
#include <cstdint>
#include <optional>

// How often top and serve look again, and how far apart graph --rates takes its two samples.
constexpr std::chrono::seconds observationPeriod { 1 };

// One processor's statistics as it answered them (the reserved parameter "zel.stats").
struct ProcessorSample
{
    QString type;
    QString state;
    double clockNs = 0;
    std::uint64_t batches = 0;
    double busyNs = 0;
    std::uint64_t inMessages = 0;
    std::uint64_t inBytes = 0;
    QHash<QString, std::uint64_t> streamMessages; // by stream name
    std::uint64_t outMessages = 0; // over all streams

    // Empty when `json` is not the answer of a processor's statistics.
    static std::optional<ProcessorSample> parse(QString const& json);
};

// What changed between two samples of one processor, per second of the processor's own clock.
struct ProcessorRates
{
    double inMessages = 0;
    double outMessages = 0;
    double inMegabytes = 0;
    std::optional<double> batch; // messages per served batch; none when nothing came in
    double busyShare = 0; // of the time between the samples
    QHash<QString, double> streamMessages;

    // None when the processor is not the same one (it was made again in between).
    static std::optional<ProcessorRates> between(ProcessorSample const& before, ProcessorSample const& after);
};

// The running system with every processor's statistics, taken at one moment.
struct Observation
{
    Topology topology;
    QHash<QString, ProcessorSample> samples; // by "group/name"; missing when it did not answer
    QHash<QString, QString> problems; // by "group/name": why its statistics are missing

    // The topology, then each processor's statistics; on failure `failed` holds the manager's reply.
    static Outcome take(SystemClient& client, Observation& observation, zelmsg::ControlMessage& failed,
        QString const& group = QString());

    static QString key(ProcessorView const& processor);
    QString typeOf(ProcessorView const& processor) const;
};

// Two observations a moment apart: the rates are the differences of the counters.
struct ObservedRates
{
    QHash<QString, ProcessorRates> processors; // by "group/name"

    static ObservedRates between(Observation const& before, Observation const& after);
    // The messages per second of the stream a link takes: what its publisher sent, or, for a
    // source outside the system, what the receiving processor took in.
    std::optional<double> linkRate(Link const& link) const;
};

// The JSON behind `top --format json` and zelctl serve: every processor with type, state and
// rates, and every link with its rate.
QJsonObject observationJson(Observation const& observation, ObservedRates const& rates);
