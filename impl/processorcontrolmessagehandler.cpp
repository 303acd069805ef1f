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

void querySources(ProcessorControlInterface& processor, Record& record)
{
    QVector<zelmsg::DataSource> sources;
    bool const ok = processor.querySources(sources);
    if (ok)
        record.SetDataSource(sources);
    answer(record, ok, QStringLiteral("Cannot query sources"));
}

void queryStreams(ProcessorControlInterface& processor, Record& record)
{
    QVector<zelmsg::DataStream> streams;
    bool const ok = processor.queryStreams(streams);
    if (ok)
        record.SetDataStream(streams);
    answer(record, ok, QStringLiteral("Cannot query streams"));
}

void getParameter(ProcessorControlInterface& processor, Record& record)
{
    QString value(QLatin1String(""));
    bool const ok = processor.getParameter(record.GetParameterName(), value);
    if (ok)
        record.SetParameter(value);
    answer(record, ok, QStringLiteral("Cannot get parameter: %1").arg(record.GetParameterName()));
}

void getParameterList(ProcessorControlInterface& processor, Record& record)
{
    QStringList names;
    bool const ok = processor.getParameterList(names);
    if (ok)
        record.SetParameter(names.isEmpty() ? QString(QLatin1String("")) : names.join(QLatin1Char(',')));
    answer(record, ok, QStringLiteral("Cannot get list of parameters"));
}

void startNewRecording(ProcessorControlInterface& processor, Record& record)
{
    QString value = record.GetParameter();
    bool const ok = processor.startNewRecording(value);
    if (ok)
        record.SetParameter(value);
    answer(record, ok, QStringLiteral("Cannot start new recording: %1").arg(record.GetParameter()));
}

} // namespace

void operateProcessor(ProcessorControlInterface& processor, Record& record)
{
    QString const stream = record.GetStreamName();
    switch (record.GetMessageType()) {
    case Record::Connect:
        return answer(record, processor.connect(stream, record.GetStreamAddress(), std::as_const(record).GetMessageFilter()),
                      QStringLiteral("Cannot connect to: %1, %2").arg(stream, record.GetStreamAddress()));
    case Record::QuerySources:
        return querySources(processor, record);
    case Record::QueryStreams:
        return queryStreams(processor, record);
    case Record::Start:
        return answer(record, processor.start(stream), QStringLiteral("Cannot start stream: %1").arg(stream));
    case Record::Stop:
        return answer(record, processor.stop(stream), QStringLiteral("Cannot stop stream: %1").arg(stream));
    case Record::SetParameterMessage:
        return answer(record, processor.setParameter(record.GetParameterName(), record.GetParameter()),
                      QStringLiteral("Cannot set parameter: %1").arg(record.GetParameterName()));
    case Record::GetParameterMessage:
        return getParameter(processor, record);
    case Record::GetParameterList:
        return getParameterList(processor, record);
    case Record::StartNewRecording:
        return startNewRecording(processor, record);
    default:
        setUnknownMessageType(record);
    }
}

} // namespace zel
