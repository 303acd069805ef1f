#include "recordtesting.h"

#include <QStringList>

#include <exception>
#include <type_traits>

using namespace recordtesting;

namespace {

class CollectingLogger : public RECORDMODEL::Logger
{
public:
    void Log(QString const& text) override { lines.append(text); }
    QStringList lines;
};

} // namespace

TEST(RecordExceptions, FormOneFamilyOutsideStdException)
{
    static_assert(std::is_base_of_v<RecordException, RMException>);
    static_assert(std::is_base_of_v<RMException, OutOfRangeException>);
    static_assert(std::is_base_of_v<RMException, IncompleteDefinitionException>);
    static_assert(std::is_base_of_v<RMException, BinaryParsingException>);
    static_assert(std::is_base_of_v<RMException, InvalidXmlException>);
    static_assert(!std::is_base_of_v<std::exception, RecordException>);

    // A handler that catches std::exception must let record faults through.
    auto throwThroughStdCatch = [] {
        try {
            throw InvalidXmlException(QStringLiteral("bad"));
        } catch (std::exception const&) {
            FAIL() << "caught as std::exception";
        }
    };
    expectThrow<InvalidXmlException>(throwThroughStdCatch, QStringLiteral("bad"));
}

TEST(RecordBaseXml, WrittenTextIsCompactAndReadBackWithOrWithoutProlog)
{
    QString const xml = stopMessage().GetXmlString();
    EXPECT_EQ(xml.toStdString(),
        "<ControlMessage><MessageType>Stop</MessageType><StreamName>s1</StreamName></ControlMessage>");

    ControlMessage plain;
    EXPECT_TRUE(plain.SetXmlString(xml, false));
    EXPECT_EQ(plain, stopMessage());

    ControlMessage withProlog;
    EXPECT_TRUE(withProlog.SetXmlString(QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n") + xml, false));
    EXPECT_EQ(withProlog, stopMessage());
}

TEST(RecordBaseXml, TextThatIsNotARecordGivesFalseAndIsLogged)
{
    auto logger = std::make_shared<CollectingLogger>();
    for (char const* text : { "", "garbage", "<ControlMessage><MessageType>Stop</MessageType>",
             "<ControlMessage><MessageType>Stop</Wrong></ControlMessage>", "<ControlMessage/><second/>",
             "<Processor/>" }) {
        ControlMessage record;
        record.SetLogger(logger);
        EXPECT_FALSE(record.SetXmlString(QString::fromLatin1(text), false)) << text;
    }
    EXPECT_EQ(logger->lines.size(), 6);

    ControlMessage partial;
    EXPECT_FALSE(partial.SetXmlString(QStringLiteral("<ControlMessage><MessageType>Stop</MessageType><Str"), false));
    EXPECT_EQ(partial.GetMessageType(), ControlMessage::Stop) << "what was read before the fault stays";
}

TEST(RecordBaseXml, ValidateArgumentHoldsForTheReadOnly)
{
    ControlMessage record;
    QString const unknownType = QStringLiteral("<ControlMessage><MessageType>Nope</MessageType></ControlMessage>");
    EXPECT_TRUE(record.SetXmlString(unknownType, false));
    EXPECT_EQ(record.GetMessageType(), -1);
    EXPECT_FALSE(record.GetValidate());

    expectThrow<OutOfRangeException>([&] { record.SetXmlString(unknownType, true); },
        QStringLiteral("enum is not valid (classname=ControlMessage,membername=m_messageType)"));
    EXPECT_FALSE(record.GetValidate());
}

TEST(RecordBaseBinary, RepresentationRoundTripsAndChecksTheRecordTag)
{
    QByteArray const bytes = stopMessage().GetBinaryRepresentationAsQByteArray();
    EXPECT_EQ(bytes, tagged(stopMessage()));

    ControlMessage copy;
    copy.SetBinaryRepresentation(bytes);
    EXPECT_EQ(copy, stopMessage());

    ControlMessage fromCompressed;
    fromCompressed.SetBinaryRepresentation(qUncompress(stopMessage().GetCompressedBinaryRepresentationAsQByteArray()));
    EXPECT_EQ(fromCompressed, stopMessage());

    zelmsg::Processor processor;
    expectThrow<BinaryParsingException>([&] { processor.SetBinaryRepresentation(bytes); },
        QStringLiteral("Processor::SetBinaryRepresentation(...): Record tag missing or wrong"));
    expectThrow<BinaryParsingException>([&] { copy.SetBinaryRepresentation(bytes.left(6)); },
        QStringLiteral("ControlMessage::SetBinaryRepresentation(...): Record tag missing or wrong"));
}

TEST(RecordBaseBinary, MergeAddsTheOtherRecordOfTheSameKind)
{
    ControlMessage target;
    target.SetGroupName(QStringLiteral("g"));
    target.AppendMessageFilter(QStringLiteral("a"));
    ControlMessage source = stopMessage();
    source.AppendMessageFilter(QStringLiteral("b"));

    EXPECT_TRUE(target.MergeRMObject(source));
    EXPECT_EQ(target.GetGroupName(), QStringLiteral("g"));
    EXPECT_EQ(target.GetStreamName(), QStringLiteral("s1"));
    EXPECT_EQ(target.GetMessageFilter(), (QVector<QString> { QStringLiteral("a"), QStringLiteral("b") }));
    EXPECT_FALSE(target.MergeRMObject(zelmsg::Processor()));
}
