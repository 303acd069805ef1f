#include "recordtesting.h"

#include <zel/controlmessagehelper.h>
#include <zel/decodecontrolrecord.h>

using namespace recordtesting;
using zel::ControlMessageHelper;

TEST(ControlMessageFactories, SetTheTypeAndOnlyTheirFields)
{
    ControlMessage const query = ControlMessageHelper::makeQueryProcessorGroupsMessage();
    EXPECT_FALSE(query.GetGroupName().isNull());
    EXPECT_FALSE(query.IsResultTypeSet());

    ControlMessage const create = ControlMessageHelper::makeCreateProcessorMessage(
        "recorder", "p7", ControlMessageHelper::makeProcessorConfig("out", "addr"));
    EXPECT_EQ(create.GetMessageType(), ControlMessage::Create);
    EXPECT_EQ(create.GetProcessorType(), QStringLiteral("recorder"));
    EXPECT_EQ(create.GetProcessor().GetDataStream().at(0).GetName(), QStringLiteral("out"));

    ControlMessage const set = ControlMessageHelper::makeSetParameterMessage("gain", "");
    EXPECT_EQ(set.GetParameterName(), QStringLiteral("gain"));
    EXPECT_FALSE(set.GetParameter().isNull());

    EXPECT_EQ(ControlMessageHelper::makeDeleteProcessorGroupMessage("g"),
        ControlMessageHelper::makeProcessorGroupManagerMessage(ControlMessage::DeleteGroup, "g"));
    EXPECT_EQ(ControlMessageHelper::makeStartNewRecordingMessage("r").GetParameter(), QStringLiteral("r"));
    ControlMessage onlyType;
    onlyType.SetMessageType(ControlMessage::QueryStreams);
    EXPECT_EQ(ControlMessageHelper::makeQueryStreamsMessage(), onlyType);
}

TEST(ControlMessageFactories, SingleValueFormsEqualTheListForms)
{
    EXPECT_TRUE(ControlMessageHelper::makeConnectStreamMessage("s", "a", std::string()).GetMessageFilter().isEmpty());
    EXPECT_EQ(
        ControlMessageHelper::makeConnectStreamMessage("s", "a", std::vector<std::string> { "" }).GetMessageFilter(),
        QVector<QString> { QStringLiteral("") });
    EXPECT_EQ(ControlMessageHelper::makeConnectStreamMessage("s", "a", "f"),
        ControlMessageHelper::makeConnectStreamMessage("s", "a", std::vector<std::string> { "f" }));
    EXPECT_EQ(ControlMessageHelper::makeRegisterStreamMessage("s", "p", "tcp://a"),
        ControlMessageHelper::makeRegisterStreamMessage("s", "p", std::vector<std::string> { "tcp://a" }));
}

TEST(ControlMessageFactories, EnvelopeCarriesTheNulTerminatedAddressAndTheXml)
{
    ControlMessage const record = ControlMessageHelper::makeStopStreamMessage("s1");
    zel::ControlMessage envelope = ControlMessageHelper::makeMessageEnvelope("abc", record);
    EXPECT_EQ(envelope.address, QByteArray("abc", 4));
    EXPECT_EQ(envelope.payload, record.GetXmlString().toUtf8());
    EXPECT_EQ(zel::decodeControlRecord(envelope), record);

    envelope.payload = "\xff\x00not xml";
    EXPECT_FALSE(zel::decodeControlRecord(envelope).HasData()) << "garbage decodes to an empty record";
}

TEST(ControlMessageFactories, ProcessorConfigAndVectorConversions)
{
    zelmsg::Processor const config = ControlMessageHelper::makeProcessorConfig("out", "");
    ASSERT_EQ(config.GetDataStream().size(), 1);
    EXPECT_EQ(config.GetDataStream().at(0).GetAddress(), QVector<QString> { QStringLiteral("") });
    EXPECT_FALSE(config.IsIDSet());
    EXPECT_FALSE(config.IsDataSourceSet());

    EXPECT_TRUE(ControlMessageHelper::toQStringVector({}).isEmpty());
    std::vector<std::string> const utf8 { "plain", "Grüße" };
    EXPECT_EQ(ControlMessageHelper::fromQStringVector(ControlMessageHelper::toQStringVector(utf8)), utf8);
}
