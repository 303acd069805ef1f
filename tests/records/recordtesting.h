#pragma once

#include <zel/host/logger.h>
#include <zel/host/recordexceptions.h>
#include <zel/zelmsg/controlmessage.h>

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDataStream>

namespace zeltest {

using RECORDMODEL::BinaryParsingException;
using RECORDMODEL::IncompleteDefinitionException;
using RECORDMODEL::InvalidXmlException;
using RECORDMODEL::OutOfRangeException;
using RECORDMODEL::RecordException;
using zelmsg::ControlMessage;
using zelmsg::DataSource;
using zelmsg::DataStream;
using zelmsg::Processor;

// The message of the worked examples: type Stop, stream s1.
inline ControlMessage stopMessage()
{
    ControlMessage message;
    message.SetMessageType(ControlMessage::Stop);
    message.SetStreamName(QStringLiteral("s1"));
    return message;
}

template <class R> QByteArray tagged(R const& record)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    record.GetBinary(stream, static_cast<qint32>(R::GetId()), true);
    return bytes;
}

template <class R> QByteArray positional(R const& record)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    record.GetVersionSpecificBinaryWithoutValidation(stream);
    return bytes;
}

// Reads the tagged form with its record tag, as GetBinary(stream, id, true) wrote it.
template <class R> void readTagged(R& record, QByteArray const& bytes)
{
    QDataStream stream(bytes);
    qint32 tag = 0;
    qint32 length = 0;
    stream >> tag >> length;
    record.SetBinary(stream, length);
}

template <class R> void readPositional(R& record, QByteArray const& bytes)
{
    QDataStream stream(bytes);
    record.SetVersionSpecificBinaryWithoutValidation(stream);
}

struct CountingLogger : RECORDMODEL::Logger
{
    void Log(QString const&) override { ++lines; }
    int lines = 0;
};

inline QByteArray hex(char const* text) { return QByteArray::fromHex(QByteArray(text).replace(' ', "")); }

template <class E, class Action> void expectThrow(Action&& action, QString const& text)
{
    try {
        action();
        ADD_FAILURE() << "no exception, expected: " << text.toStdString();
    } catch (E const& e) {
        EXPECT_EQ(e.text().toStdString(), text.toStdString());
    } catch (RECORDMODEL::RecordException const& e) {
        ADD_FAILURE() << "other record exception: " << e.text().toStdString();
    }
}

} // namespace zeltest
