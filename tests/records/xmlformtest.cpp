#include "recordtesting.h"

#include <QXmlStreamWriter>

using namespace recordtesting;

namespace {

ControlMessage createMessage()
{
    DataSource source;
    source.SetProtocol(DataSource::Sub);
    source.SetAddress(QStringLiteral("in1"));
    source.SetByteOrder(DataSource::Host);
    source.AppendFilter(QStringLiteral("a"));
    source.AppendFilter(QStringLiteral("b"));
    DataStream stream;
    stream.SetName(QStringLiteral("out1"));
    stream.SetProtocol(DataStream::Pub);
    stream.AppendAddress(QStringLiteral("addr1"));
    stream.SetRunning(false);
    Processor processor;
    processor.SetID(QStringLiteral("p7"));
    processor.SetProcessorType(QStringLiteral("recorder"));
    processor.AppendDataSource(source);
    processor.AppendDataStream(stream);
    ControlMessage message;
    message.SetMessageType(ControlMessage::Create);
    message.SetProcessor(processor);
    message.SetProcessorName(QStringLiteral("p7"));
    message.SetProcessorType(QStringLiteral("recorder"));
    return message;
}

QString const createXml = QStringLiteral(
    "<ControlMessage><MessageType>Create</MessageType>"
    "<Processor><ID>p7</ID><ProcessorType>recorder</ProcessorType>"
    "<DataSource><Protocol>SUB</Protocol><Address>in1</Address><ByteOrder>Host</ByteOrder>"
    "<Filter>a</Filter><Filter>b</Filter></DataSource>"
    "<DataStream><Name>out1</Name><Protocol>PUB</Protocol><Address>addr1</Address><Running>false</Running>"
    "</DataStream></Processor>"
    "<ProcessorName>p7</ProcessorName><ProcessorType>recorder</ProcessorType></ControlMessage>");

template <class R> R read(QString const& xml, bool validate = false)
{
    R record;
    EXPECT_TRUE(record.SetXmlString(xml, validate)) << xml.toStdString();
    return record;
}

QString streamXml(char const* children)
{
    return QStringLiteral("<DataStream>%1</DataStream>").arg(QLatin1String(children));
}

} // namespace

TEST(RecordXml, CreateMessageWritesTheDocumentedTreeAndReadsBack)
{
    EXPECT_EQ(createMessage().GetXmlString().toStdString(), createXml.toStdString());
    EXPECT_EQ(read<ControlMessage>(createXml), createMessage());
}

TEST(RecordXml, ChildrenMayComeInAnyOrderAndRepeat)
{
    auto const message = read<ControlMessage>(
        QStringLiteral("<ControlMessage><GroupName>first</GroupName><ResultType>Warning</ResultType>"
                       "<MessageFilter>x</MessageFilter><MessageType>Stop</MessageType><GroupName>last</GroupName>"
                       "<MessageFilter>y</MessageFilter></ControlMessage>"));
    EXPECT_EQ(message.GetMessageType(), ControlMessage::Stop);
    EXPECT_EQ(message.GetResultType(), ControlMessage::Warning);
    EXPECT_EQ(message.GetGroupName(), QStringLiteral("last"));
    EXPECT_EQ(message.GetMessageFilter(), (QVector<QString> { QStringLiteral("x"), QStringLiteral("y") }));
}

TEST(RecordXml, UnknownElementsAndAttributesAreSkippedWithTheirChildren)
{
    auto const message = read<ControlMessage>(QStringLiteral(
        "<ControlMessage version=\"9\"><Extra/><Unknown><StreamName>hidden</StreamName><Unknown>deep</Unknown>"
        "</Unknown><MessageType kind=\"x\">Start</MessageType><Processor><Bogus>1</Bogus><ID>p</ID></Processor>"
        "<StreamName>seen</StreamName></ControlMessage>"));
    EXPECT_EQ(message.GetMessageType(), ControlMessage::Start);
    EXPECT_EQ(message.GetStreamName(), QStringLiteral("seen"));
    EXPECT_EQ(message.GetProcessor().GetID(), QStringLiteral("p"));
}

TEST(RecordXml, EmptyElementsSetEmptyValues)
{
    auto const empty = read<ControlMessage>(QStringLiteral("<ControlMessage/>"));
    EXPECT_FALSE(empty.HasData());
    EXPECT_EQ(empty.GetMessageType(), -1);

    auto const message = read<ControlMessage>(
        QStringLiteral("<ControlMessage><StreamName/><MessageFilter></MessageFilter></ControlMessage>"), true);
    EXPECT_TRUE(message.IsStreamNameSet());
    EXPECT_FALSE(message.GetStreamName().isNull());
    EXPECT_TRUE(message.GetStreamName().isEmpty());
    ASSERT_EQ(message.GetMessageFilter().size(), 1);
    EXPECT_FALSE(message.GetMessageFilter().at(0).isNull());

    QString const again = message.GetXmlString();
    EXPECT_TRUE(again.contains(QStringLiteral("<StreamName></StreamName>")));
    EXPECT_EQ(read<ControlMessage>(again).GetXmlString(), again);
}

TEST(RecordXml, SetButEmptyValuesAndUnsetRequiredFields)
{
    ControlMessage message;
    message.GetMessageFilter();
    message.GetProcessor();
    EXPECT_EQ(message.GetXmlString().toStdString(),
        "<ControlMessage><MessageType></MessageType><Processor/></ControlMessage>");

    auto const back = read<ControlMessage>(message.GetXmlString());
    EXPECT_TRUE(back.IsProcessorSet());
    EXPECT_FALSE(back.IsMessageFilterSet());
    EXPECT_TRUE(back.IsMessageTypeSet()) << "an empty MessageType element sets -1";
    EXPECT_EQ(back.GetMessageType(), -1);

    EXPECT_EQ(DataStream().GetXmlString().toStdString(), "<DataStream><Name></Name></DataStream>");
}

TEST(RecordXml, UnknownEnumerationNameDependsOnTheFlag)
{
    QString const xml = QStringLiteral("<DataSource><Protocol>PUB</Protocol></DataSource>");
    auto const loose = read<DataSource>(xml);
    EXPECT_TRUE(loose.IsProtocolSet());
    EXPECT_EQ(loose.GetProtocol(), -1);
    EXPECT_EQ(loose.GetXmlString().toStdString(), "<DataSource><Protocol></Protocol></DataSource>");

    DataSource checked;
    expectThrow<OutOfRangeException>(
        [&] { checked.SetXmlString(xml, true); }, "enum is not valid (classname=DataSource,membername=m_protocol)");
}

TEST(RecordXml, RunningReadsFalseOnlyFromFalseAndZero)
{
    struct Case
    {
        char const* text;
        bool running;
    };
    for (Case const& c : { Case { "False", false }, Case { "0", false }, Case { "false", false }, Case { "no", true },
             Case { "TRUE", true }, Case { "1", true } }) {
        QString const xml = streamXml("<Name>n</Name><Running>%1</Running>").arg(QLatin1String(c.text));
        EXPECT_EQ(read<DataStream>(xml, true).GetRunning(), c.running) << c.text;
    }

    auto const loose = read<DataStream>(streamXml("<Name>n</Name><Running/>"));
    EXPECT_TRUE(loose.IsRunningSet());
    EXPECT_FALSE(loose.GetRunning());

    DataStream checked;
    expectThrow<InvalidXmlException>(
        [&] { checked.SetXmlString(streamXml("<Name>n</Name><Running></Running>"), true); },
        "Please set a value or a default for the boolean 'Running' in 'DataStream'.");
}

TEST(RecordXml, NestedRecordsMergeOrAppendUnderTheFlag)
{
    auto const merged = read<ControlMessage>(QStringLiteral(
        "<ControlMessage><Processor><ID>p</ID></Processor><Processor><ProcessorType>t</ProcessorType></Processor>"
        "<DataStream><Name>a</Name></DataStream><DataStream><Name>b</Name></DataStream></ControlMessage>"));
    EXPECT_EQ(merged.GetProcessor().GetID(), QStringLiteral("p"));
    EXPECT_EQ(merged.GetProcessor().GetProcessorType(), QStringLiteral("t"));
    EXPECT_EQ(merged.GetDataStream().size(), 2);

    QString const nameless = QStringLiteral("<Processor><DataStream><Running>1</Running></DataStream></Processor>");
    EXPECT_EQ(read<Processor>(nameless).GetDataStream().size(), 1);
    Processor checked;
    expectThrow<IncompleteDefinitionException>([&] { checked.SetXmlString(nameless, true); },
        "Processor: Tried to append not completely defined or invalid item DataStream.");
}

TEST(RecordXml, WriterChecksFirstWhenValidating)
{
    ControlMessage message;
    message.SetValidate(true);
    QString text;
    QXmlStreamWriter writer(&text);
    expectThrow<OutOfRangeException>(
        [&] { message.GetXml(writer); }, "ControlMessage: Please set MessageType properly.");
    EXPECT_TRUE(text.isEmpty());
}
