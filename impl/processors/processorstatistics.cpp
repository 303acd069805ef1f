#include <zel/processorstatistics.h>

#include <zel/configtool.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace zel {

namespace {

using Record = zelmsg::ControlMessage;

// JSON numbers are doubles: exact up to 2^53, more than any counter here reaches.
double number(std::uint64_t value) { return static_cast<double>(value); }

QJsonObject countersObject(StreamCounters const& counters)
{
    return { { QStringLiteral("messages"), number(counters.messages) },
        { QStringLiteral("bytes"), number(counters.bytes) } };
}

double nanoseconds(ProcessorStatistics::Clock::duration span)
{
    return static_cast<double>(std::chrono::duration_cast<std::chrono::nanoseconds>(span).count());
}

} // namespace

QString const ProcessorStatistics::parameterName = QStringLiteral("zel.stats");

void ProcessorStatistics::clearStreams()
{
    inputs.clear();
    streams.clear();
}

bool ProcessorStatistics::answer(Record& record) const
{
    if (record.GetMessageType() != Record::GetParameterMessage || record.GetParameterName() != parameterName)
        return false;
    ConfigTool::setResultSuccess(record, toJson());
    return true;
}

void ProcessorStatistics::observe(Record const& record)
{
    bool const served = record.GetResultType() == Record::Success;
    if (served && record.GetMessageType() == Record::Start)
        running = true;
    else if (served && record.GetMessageType() == Record::Stop)
        running = false;
}

QString ProcessorStatistics::toJson() const
{
    Clock::time_point const at = Clock::now();
    QJsonArray inputList;
    for (StreamCounters const* counters : inputs)
        inputList.append(countersObject(*counters));
    QJsonArray streamList;
    for (Stream const& stream : streams) {
        QJsonObject entry = countersObject(*stream.counters);
        entry.insert(QStringLiteral("name"), stream.name);
        streamList.append(entry);
    }
    // The processor's own clock, so that a reader's rates do not depend on how long its requests took.
    QJsonObject const json { { QStringLiteral("type"), type },
        { QStringLiteral("state"), running ? QStringLiteral("running") : QStringLiteral("stopped") },
        { QStringLiteral("clockNs"), nanoseconds(at - created) }, { QStringLiteral("wakeUps"), number(wakeUps) },
        { QStringLiteral("batches"), number(batches) }, { QStringLiteral("busyNs"), nanoseconds(busy) },
        { QStringLiteral("lastMessageAgoNs"),
            batches == 0 ? QJsonValue(QJsonValue::Null) : QJsonValue(nanoseconds(at - lastMessage)) },
        { QStringLiteral("inputs"), inputList }, { QStringLiteral("streams"), streamList } };
    return QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact));
}

} // namespace zel
