#include "recordtesting.h"

using namespace recordtesting;

TEST(DataSourceRecord, HasDataWithoutAnythingAndDefaultsToFirstNames)
{
    DataSource source;
    EXPECT_TRUE(source.HasData());
    EXPECT_FALSE(source.AnyData());
    EXPECT_EQ(source.GetProtocol(), DataSource::Sub);
    EXPECT_EQ(source.GetProtocolAsString(), QStringLiteral("SUB"));
    EXPECT_EQ(source.GetByteOrderAsString(), QStringLiteral("Host"));
    EXPECT_FALSE(source.IsProtocolSet());
    EXPECT_FALSE(source.IsByteOrderSet());
    EXPECT_EQ(DataSource::GetId(), 669750038);
    EXPECT_EQ(DataSource::GetProtocols(), (QStringList { "SUB", "TCP", "TCP_CLIENT", "UDP" }));
    EXPECT_EQ(source.NameToProtocol(QStringLiteral("PUB")), -1);
    EXPECT_EQ(source.NameToByteOrder(QStringLiteral("Network")), DataSource::Network);
}

TEST(DataSourceRecord, SettersAndCheckNameTheirFields)
{
    DataSource source;
    source.SetValidate(true);
    expectThrow<OutOfRangeException>([&] { source.SetProtocol(static_cast<DataSource::Protocol>(4)); },
        "enum is not valid (classname=DataSource,membername=m_protocol)");
    expectThrow<OutOfRangeException>([&] { source.SetByteOrder(static_cast<DataSource::ByteOrder>(-1)); },
        "enum is not valid (classname=DataSource,membername=m_byteOrder)");
    expectThrow<OutOfRangeException>(
        [&] { source.SetAddress(QString()); }, "DataSource: Please set Address properly (origin: Setter).");
    expectThrow<IncompleteDefinitionException>([&] { source.AppendFilter(QString()); },
        "DataSource: Tried to append not completely defined or invalid item Filter.");

    DataSource loose;
    loose.SetByteOrder(static_cast<DataSource::ByteOrder>(2));
    expectThrow<OutOfRangeException>([&] { loose.Check(); }, "DataSource: Please set ByteOrder properly.");
    loose.ResetByteOrder();
    loose.AppendFilter(QString());
    expectThrow<OutOfRangeException>([&] { loose.Check(); }, "DataSource: Please set Filter properly.");
}

TEST(DataSourceRecord, ResetToDefaultSetsTheValidEnumerations)
{
    DataSource source;
    source.SetAddress(QStringLiteral("a"));
    source.ResetToDefault();
    EXPECT_TRUE(source.IsProtocolSet());
    EXPECT_TRUE(source.IsByteOrderSet());
    EXPECT_FALSE(source.IsAddressSet());
    EXPECT_TRUE(source.AnyData());
}

TEST(DataStreamRecord, NameIsItsMandatoryData)
{
    DataStream stream;
    EXPECT_FALSE(stream.HasData());
    EXPECT_FALSE(stream.GetRunning());
    EXPECT_FALSE(stream.IsRunningSet());
    EXPECT_EQ(stream.GetProtocolAsString(), QStringLiteral("PUB"));
    expectThrow<OutOfRangeException>([&] { stream.Check(); }, "DataStream: Please set Name properly.");
    stream.SetName(QStringLiteral(""));
    EXPECT_TRUE(stream.HasData()) << "an empty name is a name";
    EXPECT_NO_THROW(stream.Check());
}

TEST(DataStreamRecord, ProtocolHasOneValidValueOfItsOwn)
{
    DataStream stream;
    stream.SetValidate(true);
    EXPECT_EQ(stream.NameToProtocol(QStringLiteral("SUB")), -1);
    EXPECT_EQ(stream.NameToProtocol(QStringLiteral("PUB")), DataStream::Pub);
    stream.SetProtocol(DataStream::Pub);
    expectThrow<OutOfRangeException>([&] { stream.SetProtocol(static_cast<DataStream::Protocol>(1)); },
        "enum is not valid (classname=DataStream,membername=m_protocol)");
    expectThrow<OutOfRangeException>(
        [&] { stream.SetName(QString()); }, "DataStream: Please set Name properly (origin: Setter).");
    expectThrow<IncompleteDefinitionException>([&] { stream.AppendAddress(QString()); },
        "DataStream: Tried to append not completely defined or invalid item Address.");
}

TEST(DataStreamRecord, RunningSetToFalseDiffersFromUnset)
{
    DataStream a;
    a.SetName(QStringLiteral("s"));
    DataStream b = a;
    b.SetRunning(false);
    EXPECT_TRUE(b.IsRunningSet());
    EXPECT_NE(a, b);
    EXPECT_TRUE(b.AnyData());

    DataStream c;
    c.ResetToDefault();
    EXPECT_TRUE(c.IsProtocolSet());
    EXPECT_FALSE(c.IsRunningSet());
}

TEST(ProcessorRecord, IdConstantAndIdFieldAreDifferentMembers)
{
    Processor processor;
    EXPECT_EQ(Processor::GetId(), 2199822242);
    EXPECT_TRUE(processor.GetID().isNull());
    processor.SetID(QStringLiteral("p7"));
    EXPECT_EQ(processor.GetID(), QStringLiteral("p7"));
    EXPECT_TRUE(Processor().HasData());
    EXPECT_FALSE(Processor().AnyData());
    processor.ResetToDefault();
    EXPECT_FALSE(processor.AnyData());
}

TEST(ProcessorRecord, NamelessStreamIsRefusedWithValidateAndCaughtByCheckWithout)
{
    Processor checked;
    checked.SetValidate(true);
    expectThrow<IncompleteDefinitionException>([&] { checked.AppendDataStream(DataStream()); },
        "Processor: Tried to append not completely defined or invalid item DataStream.");
    EXPECT_FALSE(checked.IsDataStreamSet());
    expectThrow<OutOfRangeException>(
        [&] { checked.SetProcessorType(QString()); }, "Processor: Please set ProcessorType properly (origin: Setter).");

    Processor loose;
    loose.AppendDataStream(DataStream());
    EXPECT_EQ(loose.GetDataStream().size(), 1);
    expectThrow<OutOfRangeException>([&] { loose.Check(); }, "DataStream: Please set Name properly.");
    loose.ResetDataStream();
    loose.SetID(QString());
    expectThrow<OutOfRangeException>([&] { loose.Check(); }, "Processor: Please set ID properly.");
}

TEST(ProcessorRecord, ListsCompareByContentAndForwardTheFlag)
{
    Processor a;
    Processor b;
    DataSource source;
    source.SetAddress(QStringLiteral("in"));
    a.AppendDataSource(source);
    EXPECT_NE(a, b);
    b.SetDataSource({ source });
    EXPECT_EQ(a, b);

    Processor copy = a;
    b.SetDataSource(std::as_const(a).GetDataSource());
    a.SetValidate(true);
    EXPECT_TRUE(std::as_const(a).GetDataSource().at(0).GetValidate());
    EXPECT_FALSE(std::as_const(copy).GetDataSource().at(0).GetValidate()) << "the flag must not leak into a copy";
    EXPECT_FALSE(std::as_const(b).GetDataSource().at(0).GetValidate()) << "nor into a list handed on";
}
