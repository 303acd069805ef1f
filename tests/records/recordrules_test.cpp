#include "recordtesting.h"

#include <functional>
#include <typeinfo>
#include <utility>

using namespace zeltest;

namespace {

template <class R> R checked()
{
    R record;
    record.SetValidate(true);
    return record;
}

ControlMessage::MessageType messageType(int value) { return static_cast<ControlMessage::MessageType>(value); }

// Records that hold a bad value, set with validation off.
ControlMessage stopWith(void (*change)(ControlMessage&))
{
    ControlMessage message = stopMessage();
    change(message);
    return message;
}

} // namespace

TEST(RecordExceptions, EachFaultHasItsTypeAndText)
{
    std::string const badEnum = "enum is not valid (classname=";
    std::string const badItem = ": Tried to append not completely defined or invalid item ";
    struct Fault
    {
        std::type_info const& type;
        std::string text;
        std::function<void()> action;
    };
    std::vector<Fault> const faults {
        { typeid(OutOfRangeException), badEnum + "ControlMessage,membername=m_messageType)",
            [] { checked<ControlMessage>().SetMessageType(messageType(28)); } },
        { typeid(OutOfRangeException), badEnum + "DataSource,membername=m_byteOrder)",
            [] { checked<DataSource>().SetByteOrder(static_cast<DataSource::ByteOrder>(-1)); } },
        { typeid(OutOfRangeException), badEnum + "DataSource,membername=m_protocol)",
            [] { checked<DataSource>().SetXmlString("<DataSource><Protocol>PUB</Protocol></DataSource>", true); } },
        { typeid(OutOfRangeException), "ControlMessage: Please set GroupName properly (origin: Setter).",
            [] { checked<ControlMessage>().SetGroupName(QString()); } },
        { typeid(OutOfRangeException), "ControlMessage: Please set MessageType properly.",
            [] { ControlMessage().Check(); } },
        { typeid(OutOfRangeException), "ControlMessage: Please set MessageFilter properly.",
            [] { stopWith([](auto& m) { m.AppendMessageFilter(QString()); }).Check(); } },
        { typeid(OutOfRangeException), "DataStream: Please set Name properly.", // from deep inside
            [] { stopWith([](auto& m) { m.GetProcessor().AppendDataStream(DataStream()); }).Check(); } },
        { typeid(IncompleteDefinitionException), "ControlMessage" + badItem + "MessageFilter.",
            [] { checked<ControlMessage>().AppendMessageFilter(QString()); } },
        { typeid(IncompleteDefinitionException), "Processor" + badItem + "DataStream.",
            [] {
                Processor().SetXmlString("<Processor><DataStream><Running>1</Running></DataStream></Processor>", true);
            } },
        { typeid(BinaryParsingException), "Processor::SetBinaryRepresentation(...): Record tag missing or wrong",
            [] { Processor().SetBinaryRepresentation(stopMessage().GetBinaryRepresentationAsQByteArray()); } },
        { typeid(InvalidXmlException), "Please set a value or a default for the boolean 'Running' in 'DataStream'.",
            [] { DataStream().SetXmlString("<DataStream><Name>n</Name><Running></Running></DataStream>", true); } },
    };
    for (Fault const& fault : faults) {
        SCOPED_TRACE(fault.text);
        try {
            fault.action();
            ADD_FAILURE() << "no exception";
        } catch (RecordException const& e) {
            EXPECT_TRUE(typeid(e) == fault.type) << typeid(e).name();
            EXPECT_EQ(e.text().toStdString(), fault.text);
        }
    }
}

TEST(RecordValidation, FlagDecidesBetweenRefusingAndStoring)
{
    ControlMessage refusing = checked<ControlMessage>();
    EXPECT_THROW(refusing.SetMessageType(messageType(28)), OutOfRangeException);
    EXPECT_THROW(refusing.AppendDataStream(DataStream()), IncompleteDefinitionException);
    EXPECT_FALSE(refusing.AnyData()) << "a refused value leaves no trace";
    refusing.SetGroupName(QStringLiteral(""));
    EXPECT_TRUE(refusing.IsGroupNameSet()) << "empty is not null";

    ControlMessage reader;
    EXPECT_THROW(reader.SetXmlString("<ControlMessage><MessageType>Nope</MessageType></ControlMessage>", true),
        OutOfRangeException);
    EXPECT_FALSE(reader.GetValidate()) << "the argument of SetXmlString holds for that read only";
}

TEST(RecordValidation, FlagFollowsCopiesNotAssignmentsAndReachesNestedRecords)
{
    ControlMessage assigned;
    assigned = checked<ControlMessage>();
    EXPECT_FALSE(assigned.GetValidate());
    EXPECT_TRUE(ControlMessage(checked<ControlMessage>()).GetValidate());

    // Nested records take the owner's flag, those made before and after it was set.
    ControlMessage owner;
    owner.AppendDataSource(DataSource());
    owner.SetValidate(true);
    EXPECT_TRUE(owner.GetDataSource().at(0).GetValidate());
    EXPECT_THROW(owner.GetProcessor().SetID(QString()), OutOfRangeException);

    Processor a;
    a.AppendDataSource(DataSource());
    Processor const copy = a;
    Processor handedOn;
    handedOn.SetDataSource(std::as_const(a).GetDataSource());
    a.SetValidate(true);
    EXPECT_TRUE(std::as_const(a).GetDataSource().at(0).GetValidate());
    EXPECT_FALSE(copy.GetDataSource().at(0).GetValidate()) << "the flag must not leak into a copy";
    EXPECT_FALSE(std::as_const(handedOn).GetDataSource().at(0).GetValidate()) << "nor into a list handed on";
}

TEST(RecordSharing, CopiesShareUntilOneSideWrites)
{
    ControlMessage original = stopMessage();
    original.AppendMessageFilter(QStringLiteral("a"));
    original.GetProcessor().AppendDataSource(DataSource());

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

    // The logger reaches nested records but is not copied.
    auto logger = std::make_shared<CountingLogger>();
    original.SetLogger(logger);
    EXPECT_EQ(original.GetProcessor().GetLogger(), logger);
    EXPECT_EQ(ControlMessage(original).GetLogger(), nullptr);
    original.ResetLogger();
    EXPECT_EQ(original.GetProcessor().GetLogger(), nullptr);
}

TEST(RecordEquality, ComparesSetValuesAndListContents)
{
    ControlMessage a;
    ControlMessage b;
    b.GetStreamAddresses();
    EXPECT_EQ(a, b) << "a set but empty list equals an unset one";

    // The positional form reads MessageType even with its bit clear: unset, yet holding Stop.
    readPositional(a, hex("0000 0C"));
    EXPECT_FALSE(a.IsMessageTypeSet());
    EXPECT_EQ(a, b);

    a.SetResultType(ControlMessage::Success);
    EXPECT_NE(a, b) << "set in one only, though equal to the default";
    b.SetResultType(ControlMessage::Success);
    a.GetProcessor().SetID(QStringLiteral("p"));
    b.GetProcessor().SetID(QStringLiteral("q"));
    EXPECT_NE(a, b);
}
