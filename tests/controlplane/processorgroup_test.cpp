#include "controlplanetest.h"

#include <zel/decodecontrolrecord.h>
#include <zel/endpoints.h>

using namespace cptest;
using namespace std::chrono_literals;

namespace {

class ProcessorGroupTest : public ControlPlaneTest
{
protected:
    void SetUp() override
    {
        ControlPlaneTest::SetUp();
        ASSERT_EQ(createGroup("G"), "Success");
    }

    std::optional<Record> setParameter(std::string const& name, std::string const& value)
    {
        return toGroup("G", Helper::makeSetParameterMessage(name, value));
    }

    // A round trip to a processor: whatever the group broadcast before it has been served.
    void sync(std::string const& processor)
    {
        ASSERT_TRUE(toProcessor("G", processor, Helper::makeGetParameterListMessage()).has_value()) << processor;
    }
};

Behaviour subscribing(std::vector<std::string> names, bool refuseAll = false)
{
    Behaviour behaviour;
    behaviour.subscriptions = std::move(names);
    behaviour.refuseAll = refuseAll;
    return behaviour;
}

} // namespace

TEST_F(ProcessorGroupTest, CreatesListsAndDeletesProcessors)
{
    EXPECT_EQ(queryProcessors("G"), "Success: ");
    zelmsg::Processor const config = Helper::makeProcessorConfig("out", "inproc://out");
    auto const reply = toGroup("G", Helper::makeCreateProcessorMessage("lab.Recorder", "p2", config));
    EXPECT_EQ(outcome(reply), "Success");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->GetMessageType(), Record::Create);
    EXPECT_EQ(reply->GetProcessorName(), QStringLiteral("p2"));
    EXPECT_EQ(reply->GetProcessor(), config) << "the reply is the request with its result";

    auto const p1 = makeRecorder("G", "p1");
    makeRecorder("G", "P");
    EXPECT_EQ(queryProcessors("G"), "Success: P,p1,p2");

    EXPECT_EQ(createProcessor("G", "p1"), "Error: A processor with the name 'p1' already exists in group 'G'.");
    EXPECT_FALSE(p1->destroyed);
    EXPECT_EQ(outcome(toProcessor("G", "p1", Helper::makeGetParameterListMessage())), "Success: ");
    EXPECT_EQ(createProcessor("G", "q", "Nope"), "Error: Processor of type 'Nope' could not be created.");

    EXPECT_EQ(outcome(toGroup("G", Helper::makeDeleteProcessorMessage("x"))),
        "Error: A processor with the name 'x' does not exists.");
    EXPECT_EQ(outcome(toGroup("G", Helper::makeDeleteProcessorMessage("p1"))), "Success");
    EXPECT_EQ(queryProcessors("G"), "Success: P,p2");
    EXPECT_EQ(createProcessor("G", "p1"), "Success") << "a deleted processor's name is free again";
}

TEST_F(ProcessorGroupTest, RefusesNamesWithWhiteSpaceOrACommaAnywhere)
{
    for (QString const& name :
        { QStringLiteral("a b"), QStringLiteral(" a"), QStringLiteral("a "), QStringLiteral("a\tb"),
            QStringLiteral("a,b"), QStringLiteral(","), QStringLiteral("a\u00A0b"), QStringLiteral("a\u2003") }) {
        std::string const text = name.toStdString();
        EXPECT_EQ(createProcessor("G", text), "Error: Processor name '" + text + "' is not allowed.") << text;
    }
    EXPECT_EQ(queryProcessors("G"), "Success: ");

    EXPECT_EQ(createProcessor("G", "p.1"), "Success");
    EXPECT_EQ(createProcessor("G", "x/y"), "Success");
    EXPECT_EQ(outcome(toProcessor("G", "x/y", Helper::makeGetParameterListMessage())), "Success: ");
}

TEST_F(ProcessorGroupTest, AProcessorThatCannotStartLeavesItsNameFree)
{
    Behaviour brokenStart;
    brokenStart.throwInInitialize = true;
    auto const failed = lab.prepare("p", brokenStart);
    std::string const reply = createProcessor("G", "p");
    EXPECT_EQ(reply.rfind("Error: Processor of type 'lab.Recorder' could not be created: 'Thread failed: ", 0), 0u)
        << reply;
    EXPECT_NE(reply.find("initialize refused'."), std::string::npos) << reply;
    EXPECT_TRUE(failed->released);
    EXPECT_TRUE(failed->destroyed);
    EXPECT_EQ(queryProcessors("G"), "Success: ");

    Behaviour brokenConstructor;
    brokenConstructor.throwInConstructor = true;
    lab.prepare("p", brokenConstructor);
    EXPECT_EQ(createProcessor("G", "p"),
        "Error: Processor of type 'lab.Recorder' could not be created: 'constructor refused'.");

    makeRecorder("G", "p");
    EXPECT_EQ(queryProcessors("G"), "Success: p");
}

TEST_F(ProcessorGroupTest, DeleteRepliesAfterTheProcessorThreadEnded)
{
    Behaviour slow;
    slow.slowRelease = true;
    auto const journal = makeRecorder("G", "p", slow);
    EXPECT_EQ(outcome(toGroup("G", Helper::makeDeleteProcessorMessage("p"))), "Success");
    EXPECT_TRUE(journal->released);
    EXPECT_TRUE(journal->destroyed);
}

TEST_F(ProcessorGroupTest, SetParameterReachesTheSubscribersOfAPrefixOfTheName)
{
    auto const gain = makeRecorder("G", "gain", subscribing({ "gain" }));
    auto const ga = makeRecorder("G", "ga", subscribing({ "ga" }));
    auto const offset = makeRecorder("G", "offset", subscribing({ "offset" }));
    auto const none = makeRecorder("G", "none");
    auto const refusing = makeRecorder("G", "refusing", subscribing({ "gain" }, true));

    auto const reply = setParameter("gain", "3");
    EXPECT_EQ(outcome(reply), "Success: 3");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->GetParameterName(), QStringLiteral("gain"));
    EXPECT_TRUE(gain->waitForCall("set gain=3"));
    EXPECT_TRUE(ga->waitForCall("set gain=3"));
    EXPECT_TRUE(refusing->waitForCall("set gain=3"));
    EXPECT_EQ(outcome(toProcessor("G", "gain", Helper::makeGetParameterMessage("gain"))), "Success: 3");

    EXPECT_EQ(outcome(setParameter("gamma", "1")), "Success: 1");
    EXPECT_EQ(outcome(setParameter("gainful", "2")), "Success: 2");
    EXPECT_EQ(outcome(setParameter("gai", "0")), "Success: 0");
    EXPECT_TRUE(ga->waitForCall("set gai=0"));
    for (std::string const processor : { "gain", "ga", "offset", "none" })
        sync(processor);

    EXPECT_EQ(gain->calls(), QStringList({ "set gain=3", "get gain", "set gainful=2", "list" }));
    EXPECT_EQ(ga->calls(), QStringList({ "set gain=3", "set gamma=1", "set gainful=2", "set gai=0", "list" }));
    EXPECT_EQ(offset->calls(), QStringList({ "list" }));
    EXPECT_EQ(none->calls(), QStringList({ "list" }));

    // The refused broadcast answers nobody: only the replies asked for came, nothing after them.
    EXPECT_FALSE(client->receive(200ms).has_value());
}

TEST_F(ProcessorGroupTest, BroadcastsTheNameWithItsNulThenTheRequest)
{
    zmq::socket_t listener = zeltest::makeSocket(zmq::socket_type::sub);
    listener.set(zmq::sockopt::subscribe, "");
    listener.connect(zel::Endpoints::getGroupBroadcastEndpoint("G", zel::internalAddressPrefixDefault));
    // A new subscriber joins a publisher some time after its connect: publish until it hears.
    ASSERT_TRUE(zeltest::waitUntil([&] {
        EXPECT_EQ(outcome(setParameter("warmup", "")), "Success: ") << "no processor needed";
        return zeltest::receiveFrames(listener, 50ms).has_value();
    }));
    while (zeltest::receiveFrames(listener, 0ms)) { }

    Record const request = Helper::makeSetParameterMessage("gain", "3");
    ASSERT_EQ(outcome(toGroup("G", request)), "Success: 3");
    auto const frames = zeltest::receiveFrames(listener);
    ASSERT_TRUE(frames);
    ASSERT_EQ(frames->size(), 2u);
    EXPECT_EQ((*frames)[0], std::string("gain\0", 5));
    zel::ControlMessage envelope;
    envelope.payload = QByteArray::fromStdString((*frames)[1]);
    EXPECT_EQ(zel::decodeControlRecord(envelope), request) << "the request as it came, no result yet";
}

TEST_F(ProcessorGroupTest, AnswersAnyOtherTypeAsUnknown)
{
    makeRecorder("G", "p");
    for (Record const& record : { Helper::makeCreateProcessorGroupMessage("H"), Helper::makeGetParameterMessage("a"),
             Helper::makeQueryProcessorGroupsMessage(), Helper::makeStartStreamMessage("") })
        EXPECT_EQ(outcome(toGroup("G", record)), "Error: Unknown message type")
            << record.GetMessageTypeAsString().toStdString();
    EXPECT_EQ(queryProcessors("G"), "Success: p");
    EXPECT_EQ(outcome(toManager(Helper::makeQueryProcessorGroupsMessage())), "Success: G");
}
