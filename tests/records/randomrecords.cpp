#include "recordtesting.h"

namespace recordtesting {

QString RandomRecords::text()
{
    static QString const pieces[] = {
        QString(),
        QStringLiteral(""),
        QStringLiteral("s1"),
        QStringLiteral("tcp://host:5555"),
        QStringLiteral(" padded "),
        QStringLiteral("<&>\"'"),
        QStringLiteral("line\nbreak\ttab"),
        QString::fromUtf8("Grüße 流 \xF0\x9F\x98\x80"),
    };
    return pieces[below(sizeof pieces / sizeof pieces[0])];
}

QVector<QString> RandomRecords::texts()
{
    QVector<QString> values(below(4));
    for (QString& value : values)
        value = text();
    return values;
}

zelmsg::DataSource RandomRecords::source()
{
    zelmsg::DataSource source;
    if (chance())
        source.SetProtocol(static_cast<zelmsg::DataSource::Protocol>(below(5) - 1));
    if (chance())
        source.SetAddress(text());
    if (chance())
        source.SetByteOrder(static_cast<zelmsg::DataSource::ByteOrder>(below(3) - 1));
    if (chance())
        source.SetFilter(texts());
    return source;
}

zelmsg::DataStream RandomRecords::stream()
{
    zelmsg::DataStream stream;
    // Name is always written, so an unset one would come back set.
    stream.SetName(text());
    if (chance())
        stream.SetProtocol(static_cast<zelmsg::DataStream::Protocol>(below(2) - 1));
    if (chance())
        stream.SetAddress(texts());
    if (chance())
        stream.SetRunning(chance());
    return stream;
}

zelmsg::Processor RandomRecords::processor()
{
    zelmsg::Processor processor;
    if (chance())
        processor.SetID(text());
    if (chance())
        processor.SetProcessorType(text());
    for (int i = below(3); i > 0; --i)
        processor.AppendDataSource(source());
    for (int i = below(3); i > 0; --i)
        processor.AppendDataStream(stream());
    return processor;
}

ControlMessage RandomRecords::message()
{
    ControlMessage message;
    message.SetMessageType(static_cast<ControlMessage::MessageType>(below(29) - 1));
    if (chance())
        message.SetProcessor(processor());
    for (int i = below(3); i > 0; --i)
        message.AppendDataSource(source());
    for (int i = below(3); i > 0; --i)
        message.AppendDataStream(stream());
    void (ControlMessage::*const strings[])(QString) = {
        &ControlMessage::SetStreamName,
        &ControlMessage::SetStreamAddress,
        &ControlMessage::SetParameterName,
        &ControlMessage::SetParameter,
        &ControlMessage::SetGroupName,
        &ControlMessage::SetProcessorName,
        &ControlMessage::SetProcessorType,
        &ControlMessage::SetMessageText,
    };
    for (auto setter : strings)
        if (chance())
            (message.*setter)(text());
    if (chance())
        message.SetStreamAddresses(texts());
    if (chance())
        message.SetMessageFilter(texts());
    if (chance())
        message.SetResultType(static_cast<ControlMessage::ResultType>(below(4) - 1));
    return message;
}

} // namespace recordtesting
