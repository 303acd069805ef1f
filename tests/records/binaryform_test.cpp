#include "recordtesting.h"

using namespace zeltest;

namespace {

// Written byte for byte in both forms, and read back from those bytes.
template <class R>
void expectBothForms(R const& record, QByteArray const& taggedBytes, QByteArray const& positionalBytes)
{
    EXPECT_EQ(tagged(record).toHex(' '), taggedBytes.toHex(' '));
    EXPECT_EQ(positional(record).toHex(' '), positionalBytes.toHex(' '));
    R fromTagged;
    readTagged(fromTagged, taggedBytes);
    EXPECT_EQ(fromTagged, record);
    R fromPositional;
    readPositional(fromPositional, positionalBytes);
    EXPECT_EQ(fromPositional, record);
}

QString const lengthError
    = QStringLiteral("%1::SetBinary(...): Length error occurred during processing of binary representation");

} // namespace

TEST(RecordBinary, WorkedExamplesInBothForms)
{
    DataStream stream;
    stream.SetName(QStringLiteral("s1"));
    stream.AppendAddress(QStringLiteral("x"));
    stream.SetRunning(true);
    expectBothForms(stream,
        hex("C3AA87AB 0000002C 8C9FBCA8 00000006 00000002 7331 4EEF30B0 0000000D 00000001 00000005 00000001 78"
            "40C01313 00000001 01"),
        hex("0D 00000004 00730031 00000001 00000002 0078 01"));
    expectBothForms(stopMessage(),
        hex("4C4C639D 0000001E 8F5AB013 00000008 00000004 53746F70 6C89AD67 00000006 00000002 7331"),
        hex("1100 0C 00000004 00730031"));
}

TEST(RecordBinaryTagged, WriterForms)
{
    EXPECT_EQ(stopMessage().GetBinaryRepresentationAsQByteArray(), tagged(stopMessage()));
    EXPECT_EQ(qUncompress(stopMessage().GetCompressedBinaryRepresentationAsQByteArray()), tagged(stopMessage()));

    ControlMessage unset;
    EXPECT_EQ(tagged(unset).toHex(' '), hex("4C4C639D 0000000C 8F5AB013 00000004 FFFFFFFF").toHex(' '));
    Processor processor;
    processor.AppendDataSource(DataSource());
    EXPECT_EQ(tagged(processor).toHex(' '), hex("831E9FA2 00000010 EC119564 00000008 00000001 00000000").toHex(' '));

    ControlMessage checked;
    checked.SetValidate(true);
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    EXPECT_THROW(checked.GetBinary(stream, 1, true), OutOfRangeException);
    EXPECT_TRUE(bytes.isEmpty()) << "a failed check writes nothing";
}

TEST(RecordBinaryTagged, UnknownFieldsAreSkippedAndRepeatsOverwriteOrAppend)
{
    QByteArray const body = hex("12345678 00000003 AABBCC"
                                "093E3F50 0000000D 00000001 00000005 00000001 61"
                                "4EEF30B0 00000005 00000001 41"
                                "093E3F50 0000000D 00000001 00000005 00000001 62"
                                "4EEF30B0 00000005 00000001 42"
                                "C69D142B 0000000B 00000007 4E6574776F726B");
    DataSource source;
    QDataStream stream(body);
    source.SetBinary(stream, body.size());
    EXPECT_EQ(source.GetAddress(), QStringLiteral("B"));
    EXPECT_EQ(source.GetFilter(), (QVector<QString> { QStringLiteral("a"), QStringLiteral("b") }));
    EXPECT_EQ(source.GetByteOrder(), DataSource::Network);
    EXPECT_FALSE(source.IsProtocolSet());
}

TEST(RecordBinaryHostile, BadLengthsAndHugeCountsAreRefusedBeforeAllocating)
{
    ControlMessage message;
    QDataStream full(tagged(stopMessage()));
    expectThrow<BinaryParsingException>([&] { message.SetBinary(full, -1); }, lengthError.arg("ControlMessage"));
    EXPECT_FALSE(message.AnyData()) << "a negative length reads nothing";
    QByteArray const streamName = hex("6C89AD67 00000006 00000002 7331");
    QDataStream cut(streamName);
    expectThrow<BinaryParsingException>(
        [&] { message.SetBinary(cut, streamName.size() + 2); }, lengthError.arg("ControlMessage"));
    EXPECT_EQ(message.GetStreamName(), QStringLiteral("s1")) << "what was read stays";

    auto const refused = [](auto record, char const* name, char const* text) {
        QByteArray const body = hex(text);
        QDataStream stream(body);
        expectThrow<BinaryParsingException>([&] { record.SetBinary(stream, body.size()); }, lengthError.arg(name));
    };
    refused(DataSource(), "DataSource", "093E3F50 00000004 7FFFFFFF"); // filter count
    refused(DataSource(), "DataSource", "093E3F50 0000000C 00000001 00000008 7FFFFFF0"); // filter length
    refused(DataSource(), "DataSource", "4EEF30B0 00000004 FFFFFFFE"); // address length
    refused(Processor(), "Processor", "EC119564 00000004 40000000"); // source count

    QString const positionalError = QStringLiteral(
        "DataStream::SetVersionSpecificBinaryWithoutValidation(...): Length error occurred during processing of "
        "binary representation");
    for (char const* text : { "00 7FFFFFFE", "04 FFFFFFFF 7FFFFFFF", "00 00000003 0041" }) {
        DataStream positionalStream;
        expectThrow<BinaryParsingException>([&] { readPositional(positionalStream, hex(text)); }, positionalError);
    }
}
