#include "recordtesting.h"

using namespace recordtesting;

namespace {

ControlMessage::MessageType messageType(int value) { return static_cast<ControlMessage::MessageType>(value); }

} // namespace

TEST(ControlMessageRecord, NewRecordIsEmptyUntilAGetterAllocates)
{
    ControlMessage record;
    EXPECT_FALSE(record.IsInitialized());
    EXPECT_FALSE(record.HasData());
    EXPECT_FALSE(record.AnyData());
    EXPECT_FALSE(record.IsMessageTypeSet());
    EXPECT_FALSE(record.IsResultTypeSet());
    EXPECT_FALSE(record.IsInitialized()) << "queries must not allocate";

    EXPECT_TRUE(record.GetStreamName().isNull());
    EXPECT_TRUE(record.IsInitialized());
    EXPECT_FALSE(record.AnyData());
    EXPECT_EQ(record.GetMessageType(), -1);
    EXPECT_TRUE(record.GetMessageTypeAsString().isNull());
    EXPECT_EQ(record.GetResultType(), ControlMessage::Success);
    EXPECT_EQ(ControlMessage::GetId(), 1280074653);
    EXPECT_EQ(record.GetRecordId(), 1280074653);
}

TEST(ControlMessageRecord, NameListsDefineTheValidRange)
{
    ControlMessage record;
    EXPECT_EQ(ControlMessage::GetMessageTypes().size(), 28);
    EXPECT_EQ(ControlMessage::GetResultTypes(), (QStringList { "Success", "Warning", "Error" }));
    EXPECT_EQ(record.NameToMessageType(QStringLiteral("created")), -1);
    EXPECT_EQ(record.NameToMessageType(QStringLiteral("Created")), ControlMessage::Created);
    EXPECT_EQ(record.NameToMessageType(QStringLiteral("Processor_Connect")), ControlMessage::ProcessorConnect);
    EXPECT_EQ(record.NameToMessageType(QStringLiteral("SetParameter")), ControlMessage::SetParameterMessage);
    EXPECT_EQ(record.MessageTypeToName(ControlMessage::DeleteGroup), QStringLiteral("DeleteGroup"));
    EXPECT_TRUE(record.MessageTypeToName(messageType(28)).isNull());
    EXPECT_FALSE(record.IsValidMessageType(messageType(28)));
    EXPECT_FALSE(record.IsValidMessageType(record.GetInvalidMessageType()));
}

TEST(ControlMessageRecord, ValidateOnRefusesBadValuesWithTheirTexts)
{
    ControlMessage record;
    record.SetValidate(true);
    expectThrow<OutOfRangeException>([&] { record.SetMessageType(messageType(28)); },
        "enum is not valid (classname=ControlMessage,membername=m_messageType)");
    expectThrow<OutOfRangeException>([&] { record.SetResultType(static_cast<ControlMessage::ResultType>(3)); },
        "enum is not valid (classname=ControlMessage,membername=m_resultType)");
    expectThrow<OutOfRangeException>(
        [&] { record.SetGroupName(QString()); }, "ControlMessage: Please set GroupName properly (origin: Setter).");
    expectThrow<IncompleteDefinitionException>([&] { record.AppendMessageFilter(QString()); },
        "ControlMessage: Tried to append not completely defined or invalid item MessageFilter.");
    expectThrow<IncompleteDefinitionException>([&] { record.AppendStreamAddresses(QString()); },
        "ControlMessage: Tried to append not completely defined or invalid item StreamAddresses.");
    expectThrow<IncompleteDefinitionException>([&] { record.AppendDataStream(zelmsg::DataStream()); },
        "ControlMessage: Tried to append not completely defined or invalid item DataStream.");
    EXPECT_FALSE(record.AnyData()) << "a refused value leaves no trace";

    record.SetGroupName(QStringLiteral(""));
    EXPECT_TRUE(record.IsGroupNameSet());
    record.AppendDataSource(zelmsg::DataSource());
    EXPECT_EQ(record.GetDataSource().size(), 1);
}

TEST(ControlMessageRecord, ValidateOffStoresBadValuesForCheckToFind)
{
    ControlMessage record;
    record.SetMessageType(messageType(28));
    record.SetResultType(static_cast<ControlMessage::ResultType>(3));
    EXPECT_TRUE(record.IsMessageTypeSet());
    EXPECT_EQ(record.GetMessageType(), 28);
    expectThrow<OutOfRangeException>([&] { record.Check(); }, "ControlMessage: Please set MessageType properly.");

    record.SetMessageType(ControlMessage::Start);
    expectThrow<OutOfRangeException>([&] { record.Check(); }, "ControlMessage: Please set ResultType properly.");
    record.ResetResultType();
    record.SetStreamName(QString());
    expectThrow<OutOfRangeException>([&] { record.Check(true); }, "ControlMessage: Please set StreamName properly.");
    record.SetStreamName(QStringLiteral("s"));
    record.AppendMessageFilter(QString());
    expectThrow<OutOfRangeException>([&] { record.Check(); }, "ControlMessage: Please set MessageFilter properly.");
}

TEST(ControlMessageRecord, CheckReportsTheNestedRecordThatFails)
{
    ControlMessage record;
    record.SetMessageType(ControlMessage::Create);
    record.GetProcessor().AppendDataStream(zelmsg::DataStream());
    expectThrow<OutOfRangeException>([&] { record.Check(); }, "DataStream: Please set Name properly.");
    expectThrow<OutOfRangeException>(
        [&] { ControlMessage().Check(); }, "ControlMessage: Please set MessageType properly.");
}

TEST(ControlMessageRecord, ResetsRestoreDefaults)
{
    ControlMessage fresh;
    fresh.ResetToDefault();
    EXPECT_FALSE(fresh.HasData());
    EXPECT_TRUE(fresh.IsResultTypeSet());
    EXPECT_FALSE(fresh.IsMessageTypeSet());
    EXPECT_EQ(fresh.GetMessageType(), -1);

    ControlMessage used;
    used.SetMessageType(ControlMessage::Stop);
    used.SetResultType(ControlMessage::Error);
    used.AppendMessageFilter(QStringLiteral("a"));
    used.GetProcessor().SetID(QStringLiteral("p"));
    used.ResetResultType();
    EXPECT_FALSE(used.IsResultTypeSet());
    EXPECT_EQ(used.GetResultType(), ControlMessage::Success);
    used.ResetMessageType();
    EXPECT_EQ(used.GetMessageType(), -1);

    used.Reset();
    EXPECT_TRUE(used.IsInitialized());
    EXPECT_FALSE(used.AnyData());
    EXPECT_TRUE(used.GetMessageFilter().isEmpty());
    EXPECT_TRUE(used.GetProcessor().GetID().isNull());

    ControlMessage untouched;
    untouched.Reset();
    untouched.ResetStreamName();
    EXPECT_FALSE(untouched.IsInitialized());
}

TEST(ControlMessageRecord, AnyDataLooksAtValuesForStringsAndListsAndAtBitsForEnumerations)
{
    ControlMessage record;
    record.GetStreamAddresses();
    record.GetProcessor();
    EXPECT_FALSE(record.AnyData());
    record.SetResultType(ControlMessage::Success);
    EXPECT_TRUE(record.AnyData());

    ControlMessage nested;
    nested.GetProcessor().SetProcessorType(QStringLiteral("t"));
    EXPECT_TRUE(nested.AnyData());
}

TEST(ControlMessageRecord, EqualityComparesSetValuesAndListContents)
{
    ControlMessage a;
    ControlMessage b;
    EXPECT_EQ(a, b);

    b.GetStreamAddresses();
    EXPECT_TRUE(b.IsStreamAddressesSet());
    EXPECT_EQ(a, b) << "a set but empty list equals an unset one";

    // The positional form reads MessageType even with its bit clear: unset, yet holding Stop.
    readPositional(a, hex("0000 0C"));
    EXPECT_FALSE(a.IsMessageTypeSet());
    EXPECT_EQ(a.GetMessageType(), ControlMessage::Stop);
    EXPECT_EQ(a, b);

    a.SetResultType(ControlMessage::Success);
    EXPECT_NE(a, b) << "set in one only";
    b.SetResultType(ControlMessage::Success);
    EXPECT_EQ(a, b);

    a.GetProcessor().SetID(QStringLiteral("p"));
    b.GetProcessor().SetID(QStringLiteral("q"));
    EXPECT_NE(a, b);
}

TEST(ControlMessageSharing, CopiesShareUntilOneSideWrites)
{
    ControlMessage original;
    original.SetMessageType(ControlMessage::Stop);
    original.AppendMessageFilter(QStringLiteral("a"));
    original.GetProcessor().AppendDataSource(zelmsg::DataSource());

    ControlMessage copy = original;
    ControlMessage assigned;
    assigned = original;
    original.SetMessageType(ControlMessage::Start);
    original.AppendMessageFilter(QStringLiteral("b"));
    original.GetProcessor().GetDataSource()[0].SetAddress(QStringLiteral("changed"));

    for (ControlMessage const* old : { &copy, &assigned }) {
        EXPECT_EQ(old->GetMessageType(), ControlMessage::Stop);
        EXPECT_EQ(old->GetMessageFilter().size(), 1);
        EXPECT_FALSE(old->GetProcessor().GetDataSource().at(0).IsAddressSet());
    }
    copy.SetGroupName(QStringLiteral("g"));
    EXPECT_FALSE(assigned.IsGroupNameSet());
}

TEST(ControlMessageSharing, ValidateFlagFollowsCopiesNotAssignmentsAndReachesNestedRecords)
{
    ControlMessage checked;
    checked.SetValidate(true);
    ControlMessage copy(checked);
    EXPECT_TRUE(copy.GetValidate());
    ControlMessage assigned;
    assigned = checked;
    EXPECT_FALSE(assigned.GetValidate());

    // Nested records take the owner's flag, those made before and after it was set.
    ControlMessage owner;
    owner.AppendDataSource(zelmsg::DataSource());
    owner.SetValidate(true);
    EXPECT_TRUE(owner.GetDataSource().at(0).GetValidate());
    EXPECT_TRUE(owner.GetProcessor().GetValidate());
    expectThrow<OutOfRangeException>(
        [&] { owner.GetProcessor().SetID(QString()); }, "Processor: Please set ID properly (origin: Setter).");
}

TEST(ControlMessageSharing, LoggerReachesNestedRecordsButIsNotCopied)
{
    class NullLogger : public RECORDMODEL::Logger
    {
        void Log(QString const&) override { }
    };
    auto logger = std::make_shared<NullLogger>();
    ControlMessage owner;
    owner.AppendDataStream(zelmsg::DataStream());
    owner.SetLogger(logger);
    EXPECT_EQ(owner.GetProcessor().GetLogger(), logger);
    EXPECT_EQ(owner.GetDataStream().at(0).GetLogger(), logger);
    EXPECT_EQ(ControlMessage(owner).GetLogger(), nullptr);
    owner.ResetLogger();
    EXPECT_EQ(owner.GetProcessor().GetLogger(), nullptr);
}
