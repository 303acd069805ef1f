#include "recordtesting.h"

using namespace recordtesting;

namespace {

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
