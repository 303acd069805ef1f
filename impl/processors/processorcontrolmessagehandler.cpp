#include <zel/processorcontrolmessagehandler.h>

#include <zel/configtool.h>

#include <utility>

namespace zel {

namespace {

using Record = zelmsg::ControlMessage;

void answer(Record& record, bool ok, QString const& failure)
{
    if (ok)
        ConfigTool::setResultSuccess(record);
    else
        ConfigTool::setErrorMessage(record, failure);
}

// The operations that hand back a value: it goes into the reply only on success.
template <class Value, class Call, class Store>
void answerWithValue(Record& record, Value value, Call call, Store store, QString const& failure)
{
    bool const ok = call(value);
    if (ok)
        store(value);
    answer(record, ok, failure);
}

} // namespace

void operateProcessor(ProcessorControlInterface& processor, Record& record)
{
    QString const stream = record.GetStreamName();
    switch (record.GetMessageType()) {
    case Record::Connect:
        return answer(record,
            processor.connect(stream, record.GetStreamAddress(), std::as_const(record).GetMessageFilter()),
            QStringLiteral("Cannot connect to: %1, %2").arg(stream, record.GetStreamAddress()));
    case Record::QuerySources:
        return answerWithValue(
            record, QVector<zelmsg::DataSource>(), [&](auto& list) { return processor.querySources(list); },
            [&](auto const& list) { record.SetDataSource(list); }, QStringLiteral("Cannot query sources"));
    case Record::QueryStreams:
        return answerWithValue(
            record, QVector<zelmsg::DataStream>(), [&](auto& list) { return processor.queryStreams(list); },
            [&](auto const& list) { record.SetDataStream(list); }, QStringLiteral("Cannot query streams"));
    case Record::Start:
        return answer(record, processor.start(stream), QStringLiteral("Cannot start stream: %1").arg(stream));
    case Record::Stop:
        return answer(record, processor.stop(stream), QStringLiteral("Cannot stop stream: %1").arg(stream));
    case Record::SetParameterMessage:
        return answer(record, processor.setParameter(record.GetParameterName(), record.GetParameter()),
            QStringLiteral("Cannot set parameter: %1").arg(record.GetParameterName()));
    case Record::GetParameterMessage:
        return answerWithValue(
            record, RECORDMODEL::nonNullText(),
            [&](QString& value) { return processor.getParameter(record.GetParameterName(), value); },
            [&](QString const& value) { record.SetParameter(value); },
            QStringLiteral("Cannot get parameter: %1").arg(record.GetParameterName()));
    case Record::GetParameterList:
        return answerWithValue(
            record, QStringList(), [&](QStringList& names) { return processor.getParameterList(names); },
            [&](QStringList const& names) {
                record.SetParameter(RECORDMODEL::nonNullText(names.join(QLatin1Char(','))));
            },
            QStringLiteral("Cannot get list of parameters"));
    case Record::StartNewRecording:
        return answerWithValue(
            record, record.GetParameter(), [&](QString& value) { return processor.startNewRecording(value); },
            [&](QString const& value) { record.SetParameter(value); },
            QStringLiteral("Cannot start new recording: %1").arg(record.GetParameter()));
    default:
        setUnknownMessageType(record);
    }
}

} // namespace zel
