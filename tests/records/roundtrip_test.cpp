#include "recordtesting.h"

#include <random>

using namespace recordtesting;

namespace {

// Random records of every shape, valid enough to survive all three forms unchanged. Enumerations
// take the invalid value -1 too, which every form carries.
class RandomRecords
{
public:
    explicit RandomRecords(unsigned seed)
        : random(seed)
    { }

    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); }
    bool chance() { return below(2) == 0; }
    template <class E> E anyOf(int count) { return static_cast<E>(below(count + 1) - 1); }

    QString text()
    {
        static QString const pieces[] = { QString(), QStringLiteral(""), QStringLiteral("s1"),
            QStringLiteral(" padded "), QStringLiteral("<&>\"'"), QStringLiteral("line\nbreak\ttab"),
            QString::fromUtf8("Grüße 流 \xF0\x9F\x98\x80") };
        return pieces[below(std::size(pieces))];
    }
    QVector<QString> texts()
    {
        QVector<QString> values(below(4));
        for (QString& value : values)
            value = text();
        return values;
    }

    DataSource source()
    {
        DataSource source;
        if (chance())
            source.SetProtocol(anyOf<DataSource::Protocol>(4));
        if (chance())
            source.SetAddress(text());
        if (chance())
            source.SetByteOrder(anyOf<DataSource::ByteOrder>(2));
        if (chance())
            source.SetFilter(texts());
        return source;
    }

    DataStream stream()
    {
        DataStream stream;
        stream.SetName(text()); // always written, so an unset one would come back set
        if (chance())
            stream.SetProtocol(anyOf<DataStream::Protocol>(1));
        if (chance())
            stream.SetAddress(texts());
        if (chance())
            stream.SetRunning(chance());
        return stream;
    }

    template <class R> void addLists(R& record)
    {
        for (int i = below(3); i > 0; --i)
            record.AppendDataSource(source());
        for (int i = below(3); i > 0; --i)
            record.AppendDataStream(stream());
    }

    ControlMessage message()
    {
        ControlMessage message;
        message.SetMessageType(anyOf<ControlMessage::MessageType>(28));
        if (chance()) {
            Processor processor;
            if (chance())
                processor.SetID(text());
            if (chance())
                processor.SetProcessorType(text());
            addLists(processor);
            message.SetProcessor(processor);
        }
        addLists(message);
        for (auto setter :
            { &ControlMessage::SetStreamName, &ControlMessage::SetStreamAddress, &ControlMessage::SetParameterName,
                &ControlMessage::SetParameter, &ControlMessage::SetGroupName, &ControlMessage::SetProcessorName,
                &ControlMessage::SetProcessorType, &ControlMessage::SetMessageText })
            if (chance())
                (message.*setter)(text());
        if (chance())
            message.SetStreamAddresses(texts());
        if (chance())
            message.SetMessageFilter(texts());
        if (chance())
            message.SetResultType(anyOf<ControlMessage::ResultType>(3));
        return message;
    }

private:
    std::mt19937 random;
};

constexpr unsigned seed = 20240611;

ControlMessage viaXml(ControlMessage const& message)
{
    ControlMessage back;
    EXPECT_TRUE(back.SetXmlString(message.GetXmlString(), false));
    return back;
}

ControlMessage viaTagged(ControlMessage const& message)
{
    ControlMessage back;
    back.SetBinaryRepresentation(message.GetBinaryRepresentationAsQByteArray());
    return back;
}

ControlMessage viaPositional(ControlMessage const& message)
{
    ControlMessage back;
    readPositional(back, positional(message));
    return back;
}

// Hostile input may end in a record exception or a record; either way the record stays usable.
template <class Read> void readHostile(QByteArray const& bytes, bool validate, Read read)
{
    ControlMessage record;
    record.SetValidate(validate);
    try {
        read(record, bytes);
    } catch (RECORDMODEL::RecordException const&) { }
    record.SetValidate(false);
    record.GetXmlString();
    record.GetBinaryRepresentationAsQByteArray();
    positional(record);
}

QByteArray damage(QByteArray bytes, RandomRecords& random)
{
    if (bytes.isEmpty())
        return bytes;
    switch (random.below(3)) {
    case 0:
        return bytes.left(random.below(bytes.size()));
    case 1:
        for (int flips = 1 + random.below(4); flips > 0; --flips)
            bytes[random.below(bytes.size())] = static_cast<char>(random.below(256));
        return bytes;
    default:
        return bytes.insert(random.below(bytes.size()), static_cast<char>(random.below(256)));
    }
}

} // namespace

TEST(RecordRoundTrip, RandomRecordsSurviveEveryForm)
{
    RandomRecords random(seed);
    for (int i = 0; i < 500; ++i) {
        ControlMessage const message = random.message();
        SCOPED_TRACE(message.GetXmlString().toStdString());
        ControlMessage const xml = viaXml(message);
        ASSERT_EQ(xml, message);
        ControlMessage const tagged = viaTagged(xml);
        ASSERT_EQ(tagged, message);
        ASSERT_EQ(viaPositional(tagged), message);
        ASSERT_EQ(viaXml(viaPositional(message)), message);
    }
}

TEST(RecordRoundTrip, HostileBytesEndInAnExceptionOrARecord)
{
    RandomRecords random(seed + 1);
    auto const readRepresentation
        = [](ControlMessage& record, QByteArray const& bytes) { record.SetBinaryRepresentation(bytes); };
    auto const readPositionalForm
        = [](ControlMessage& record, QByteArray const& bytes) { readPositional(record, bytes); };
    auto const readXmlText = [](ControlMessage& record, QByteArray const& bytes) {
        record.SetXmlString(QString::fromUtf8(bytes), record.GetValidate());
    };
    for (int i = 0; i < 3000; ++i) {
        ControlMessage const message = random.message();
        bool const validate = random.chance();
        readHostile(damage(message.GetBinaryRepresentationAsQByteArray(), random), validate, readRepresentation);
        readHostile(damage(positional(message), random), validate, readPositionalForm);
        readHostile(damage(message.GetXmlString().toUtf8(), random), validate, readXmlText);
    }
}

TEST(RecordRoundTrip, LongListsReadInLinearTime)
{
    int const count = 200000;
    QString xml = QStringLiteral("<Processor>");
    for (int i = 0; i < count; ++i)
        xml += QStringLiteral("<DataSource/><DataStream><Name/></DataStream>");
    xml += QStringLiteral("</Processor>");
    zelmsg::Processor processor;
    ASSERT_TRUE(processor.SetXmlString(xml, true));
    EXPECT_EQ(processor.GetDataSource().size(), count);

    zelmsg::Processor fromBinary;
    fromBinary.SetBinaryRepresentation(processor.GetBinaryRepresentationAsQByteArray());
    EXPECT_EQ(fromBinary.GetDataStream().size(), count);
}
