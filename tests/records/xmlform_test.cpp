#include "recordtesting.h"

using namespace zeltest;

namespace {

// Element names and order as other programs write them.
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

} // namespace

// Compact, without a prolog; one is read.
TEST(RecordXml, CreateMessageReadsAndWritesTheSameTree)
{
    EXPECT_EQ(read<ControlMessage>(createXml).GetXmlString().toStdString(), createXml.toStdString());
    EXPECT_EQ(read<ControlMessage>(QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n") + createXml),
        read<ControlMessage>(createXml));
}

TEST(RecordXml, ChildrenInAnyOrderRepeatedOrUnknown)
{
    auto const message = read<ControlMessage>(QStringLiteral(
        "<ControlMessage version=\"9\"><GroupName>first</GroupName><Extra/><MessageFilter>x</MessageFilter>"
        "<Unknown><StreamName>hidden</StreamName><Unknown>deep</Unknown></Unknown>"
        "<MessageType kind=\"x\">Stop</MessageType><GroupName>last</GroupName><MessageFilter>y</MessageFilter>"
        "<Processor><Bogus>1</Bogus><ID>p</ID></Processor><StreamName>seen</StreamName></ControlMessage>"));
    EXPECT_EQ(message.GetMessageType(), ControlMessage::Stop);
    EXPECT_EQ(message.GetGroupName(), QStringLiteral("last"));
    EXPECT_EQ(message.GetMessageFilter(), (QVector<QString> { QStringLiteral("x"), QStringLiteral("y") }));
    EXPECT_EQ(message.GetStreamName(), QStringLiteral("seen"));
    EXPECT_EQ(message.GetProcessor().GetID(), QStringLiteral("p"));
}

TEST(RecordXml, TextThatIsNotARecordGivesFalseAndIsLogged)
{
    auto logger = std::make_shared<CountingLogger>();
    for (char const* text : { "", "garbage", "<ControlMessage><MessageType>Stop</MessageType>",
             "<ControlMessage><MessageType>Stop</Wrong></ControlMessage>", "<ControlMessage/><second/>",
             "<Processor/>" }) {
        ControlMessage record;
        record.SetLogger(logger);
        EXPECT_FALSE(record.SetXmlString(QString::fromLatin1(text), false)) << text;
    }
    EXPECT_EQ(logger->lines, 6);

    ControlMessage partial;
    EXPECT_FALSE(partial.SetXmlString(QStringLiteral("<ControlMessage><MessageType>Stop</MessageType><Str"), false));
    EXPECT_EQ(partial.GetMessageType(), ControlMessage::Stop) << "what was read before the fault stays";
}

TEST(RecordXml, EmptyElementsSetEmptyValuesAndUnsetRequiredOnesAreWritten)
{
    auto const message = read<ControlMessage>(
        QStringLiteral("<ControlMessage><StreamName/><MessageFilter></MessageFilter></ControlMessage>"), true);
    EXPECT_FALSE(message.GetStreamName().isNull());
    ASSERT_EQ(message.GetMessageFilter().size(), 1);
    EXPECT_FALSE(message.GetMessageFilter().at(0).isNull());

    ControlMessage unset;
    unset.GetMessageFilter();
    unset.GetProcessor();
    EXPECT_EQ(
        unset.GetXmlString().toStdString(), "<ControlMessage><MessageType></MessageType><Processor/></ControlMessage>");
    auto const back = read<ControlMessage>(unset.GetXmlString());
    EXPECT_TRUE(back.IsMessageTypeSet()) << "an empty MessageType element sets -1";
    EXPECT_EQ(back.GetMessageType(), -1);
    EXPECT_EQ(DataStream().GetXmlString().toStdString(), "<DataStream><Name></Name></DataStream>");
}

TEST(RecordXml, RunningReadsFalseOnlyFromFalseAndZero)
{
    std::pair<char const*, bool> const cases[] = { { "False", false }, { "0", false }, { "false", false },
        { "no", true }, { "TRUE", true }, { "1", true }, { "", false } };
    for (auto const& [text, running] : cases) {
        QString const xml
            = QStringLiteral("<DataStream><Name>n</Name><Running>%1</Running></DataStream>").arg(QLatin1String(text));
        EXPECT_EQ(read<DataStream>(xml, text[0] != 0).GetRunning(), running) << text;
    }
}

TEST(RecordXml, NestedRecordsMerge)
{
    auto const merged = read<ControlMessage>(QStringLiteral(
        "<ControlMessage><Processor><ID>p</ID></Processor><Processor><ProcessorType>t</ProcessorType></Processor>"
        "<DataStream><Name>a</Name></DataStream><DataStream><Name>b</Name></DataStream></ControlMessage>"));
    EXPECT_EQ(merged.GetProcessor().GetID(), QStringLiteral("p"));
    EXPECT_EQ(merged.GetProcessor().GetProcessorType(), QStringLiteral("t"));
    EXPECT_EQ(merged.GetDataStream().size(), 2);
}
