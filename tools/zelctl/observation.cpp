#include "observation.h"

#include "identities.h"

#include <zel/controlmessagehelper.h>
#include <zel/processorstatistics.h>

#include <QJsonArray>
#include <QJsonDocument>

namespace {

using zelmsg::ControlMessage;

std::uint64_t count(QJsonValue const& value) { return static_cast<std::uint64_t>(value.toDouble()); }

// The messages and bytes of a list of counters, summed.
std::pair<std::uint64_t, std::uint64_t> sum(QJsonArray const& list)
{
    std::pair<std::uint64_t, std::uint64_t> total;
    for (QJsonValue const& entry : list) {
        total.first += count(entry[QStringLiteral("messages")]);
        total.second += count(entry[QStringLiteral("bytes")]);
    }
    return total;
}

double perSecond(std::uint64_t before, std::uint64_t after, double seconds)
{
    return after >= before ? static_cast<double>(after - before) / seconds : 0;
}

QJsonValue optional(std::optional<double> value) { return value ? QJsonValue(*value) : QJsonValue(); }

QString path(ProcessorView const* processor) { return processor ? Observation::key(*processor) : QString(); }

} // namespace

std::optional<ProcessorSample> ProcessorSample::parse(QString const& json)
{
    QJsonObject const object = QJsonDocument::fromJson(json.toUtf8()).object();
    if (!object.contains(QStringLiteral("clockNs")))
        return std::nullopt;
    ProcessorSample sample;
    sample.type = object[QStringLiteral("type")].toString();
    sample.state = object[QStringLiteral("state")].toString();
    sample.clockNs = object[QStringLiteral("clockNs")].toDouble();
    sample.batches = count(object[QStringLiteral("batches")]);
    sample.busyNs = object[QStringLiteral("busyNs")].toDouble();
    std::tie(sample.inMessages, sample.inBytes) = sum(object[QStringLiteral("inputs")].toArray());
    for (QJsonValue const& stream : object[QStringLiteral("streams")].toArray()) {
        std::uint64_t const messages = count(stream[QStringLiteral("messages")]);
        sample.streamMessages.insert(stream[QStringLiteral("name")].toString(), messages);
        sample.outMessages += messages;
    }
    return sample;
}

std::optional<ProcessorRates> ProcessorRates::between(ProcessorSample const& before, ProcessorSample const& after)
{
    double const seconds = (after.clockNs - before.clockNs) / 1e9;
    if (seconds <= 0 || after.inMessages < before.inMessages || after.outMessages < before.outMessages)
        return std::nullopt;
    ProcessorRates rates;
    rates.inMessages = perSecond(before.inMessages, after.inMessages, seconds);
    rates.outMessages = perSecond(before.outMessages, after.outMessages, seconds);
    rates.inMegabytes = perSecond(before.inBytes, after.inBytes, seconds) / 1e6;
    if (after.batches > before.batches)
        rates.batch = static_cast<double>(after.inMessages - before.inMessages)
            / static_cast<double>(after.batches - before.batches);
    rates.busyShare = (after.busyNs - before.busyNs) / (after.clockNs - before.clockNs);
    for (auto it = after.streamMessages.cbegin(); it != after.streamMessages.cend(); ++it)
        rates.streamMessages.insert(it.key(), perSecond(before.streamMessages.value(it.key()), it.value(), seconds));
    return rates;
}

Outcome Observation::take(SystemClient& client, Observation& observation, ControlMessage& failed, QString const& group)
{
    Outcome const outcome = Topology::query(client, observation.topology, failed, group);
    if (outcome != Outcome::Success)
        return outcome;
    for (GroupView const& group : observation.topology.groups) {
        for (ProcessorView const& processor : group.processors) {
            if (!processor.problem.isEmpty())
                continue; // it failed its queries already; asking again would only wait once more
            ControlMessage record = zel::ControlMessageHelper::makeGetParameterMessage(
                zel::ProcessorStatistics::parameterName.toStdString());
            Outcome const answer = client.request(Identities::processor(processor.group, processor.name), record);
            std::optional<ProcessorSample> const sample
                = answer == Outcome::Success ? ProcessorSample::parse(record.GetParameter()) : std::nullopt;
            if (sample)
                observation.samples.insert(key(processor), *sample);
            else
                observation.problems.insert(key(processor),
                    answer == Outcome::Timeout ? QStringLiteral("no answer") : QStringLiteral("no statistics"));
        }
    }
    return outcome;
}

QString Observation::key(ProcessorView const& processor) { return processor.group + QLatin1Char('/') + processor.name; }

QString Observation::typeOf(ProcessorView const& processor) const
{
    auto const sample = samples.constFind(key(processor));
    return sample == samples.cend() ? QString() : sample->type;
}

ObservedRates ObservedRates::between(Observation const& before, Observation const& after)
{
    ObservedRates result;
    for (auto it = after.samples.cbegin(); it != after.samples.cend(); ++it) {
        auto const earlier = before.samples.constFind(it.key());
        if (earlier == before.samples.cend())
            continue;
        if (std::optional<ProcessorRates> const rates = ProcessorRates::between(*earlier, it.value()))
            result.processors.insert(it.key(), *rates);
    }
    return result;
}

std::optional<double> ObservedRates::linkRate(Link const& link) const
{
    ProcessorView const* const measured = link.from ? link.from : link.to;
    auto const rates = processors.constFind(Observation::key(*measured));
    if (rates == processors.cend())
        return std::nullopt;
    return link.from ? rates->streamMessages.value(link.stream) : rates->inMessages;
}

QJsonObject observationJson(Observation const& observation, ObservedRates const& rates)
{
    QJsonArray processors;
    for (GroupView const& group : observation.topology.groups) {
        for (ProcessorView const& processor : group.processors) {
            QString const key = Observation::key(processor);
            QJsonObject row { { QStringLiteral("group"), processor.group },
                { QStringLiteral("name"), processor.name } };
            auto const sample = observation.samples.constFind(key);
            if (sample == observation.samples.cend()) {
                QString const problem
                    = processor.problem.isEmpty() ? observation.problems.value(key) : processor.problem;
                row.insert(QStringLiteral("problem"), problem);
                processors.append(row);
                continue;
            }
            row.insert(QStringLiteral("type"), sample->type);
            row.insert(QStringLiteral("state"), sample->state);
            row.insert(QStringLiteral("inMessages"), static_cast<double>(sample->inMessages));
            row.insert(QStringLiteral("outMessages"), static_cast<double>(sample->outMessages));
            auto const rate = rates.processors.constFind(key);
            if (rate != rates.processors.cend()) {
                row.insert(QStringLiteral("inMsgPerSec"), rate->inMessages);
                row.insert(QStringLiteral("outMsgPerSec"), rate->outMessages);
                row.insert(QStringLiteral("inMBPerSec"), rate->inMegabytes);
                row.insert(QStringLiteral("batch"), optional(rate->batch));
                row.insert(QStringLiteral("busyShare"), rate->busyShare);
            }
            processors.append(row);
        }
    }
    QJsonArray links;
    for (Link const& link : observation.topology.links()) {
        links.append(QJsonObject { { QStringLiteral("from"), link.from ? path(link.from) : QJsonValue() },
            { QStringLiteral("stream"), link.from ? QJsonValue(link.stream) : QJsonValue() },
            { QStringLiteral("address"), link.source.GetAddress() }, { QStringLiteral("to"), path(link.to) },
            { QStringLiteral("msgPerSec"), optional(rates.linkRate(link)) } });
    }
    return { { QStringLiteral("processors"), processors }, { QStringLiteral("links"), links } };
}
