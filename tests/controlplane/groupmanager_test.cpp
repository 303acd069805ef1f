#include "controlplanetest.h"

#include <zel/requestclienttemplate.h>
#include <zel/socketreader.h>

using namespace cptest;

using GroupManagerTest = ControlPlaneTest;

TEST_F(GroupManagerTest, ListsGroupNamesInByteOrder)
{
    EXPECT_EQ(outcome(toManager(Helper::makeQueryProcessorGroupsMessage())), "Success: ");
    for (std::string const name : { "b", "a", "B", "x,y" })
        EXPECT_EQ(createGroup(name), "Success") << name;
    // The manager takes a comma in a group name, though the list then reads as one more group.
    EXPECT_EQ(outcome(toManager(Helper::makeQueryProcessorGroupsMessage())), "Success: B,a,b,x,y");
}

TEST_F(GroupManagerTest, RefusesADuplicateAndAnUnknownName)
{
    ASSERT_EQ(createGroup("a"), "Success");
    auto const first = makeRecorder("a", "p");

    EXPECT_EQ(createGroup("a"), "Error: A group with the name 'a' already exists.");
    EXPECT_EQ(outcome(toManager(Helper::makeQueryProcessorGroupsMessage())), "Success: a");
    EXPECT_EQ(queryProcessors("a"), "Success: p") << "the group that exists is untouched";
    EXPECT_FALSE(first->destroyed);

    EXPECT_EQ(outcome(toManager(Helper::makeDeleteProcessorGroupMessage("zz"))),
        "Error: A group with the name 'zz' does not exists.");
    EXPECT_EQ(outcome(toManager(Helper::makeDeleteProcessorGroupMessage("a"))), "Success");
    EXPECT_EQ(outcome(toManager(Helper::makeDeleteProcessorGroupMessage("a"))),
        "Error: A group with the name 'a' does not exists.");
}

TEST_F(GroupManagerTest, CreateRepliesWhenTheGroupRunsAndDeleteWhenAllOfItStopped)
{
    ASSERT_EQ(createGroup("G"), "Success");
    // No waiting: the reply itself says that the group and its name service answer.
    EXPECT_TRUE(client->request(zeltest::nameServiceIdentity("G"), Helper::makeResolveStreamMessage("s")));
    EXPECT_EQ(queryProcessors("G"), "Success: ");

    Behaviour slow;
    slow.slowRelease = true;
    auto const p1 = makeRecorder("G", "p1", slow);
    auto const p2 = makeRecorder("G", "p2", slow);

    EXPECT_EQ(outcome(toManager(Helper::makeDeleteProcessorGroupMessage("G"))), "Success");
    EXPECT_TRUE(p1->destroyed);
    EXPECT_TRUE(p2->destroyed);
    EXPECT_EQ(outcome(toManager(Helper::makeQueryProcessorGroupsMessage())), "Success: ");
}

TEST_F(GroupManagerTest, AGroupMadeAgainAfterDeleteIsNewAtTheSameAddresses)
{
    ASSERT_EQ(createGroup("G"), "Success");
    makeRecorder("G", "p");
    std::string const nameService = zeltest::nameServiceIdentity("G");
    ASSERT_EQ(
        outcome(client->request(nameService, Helper::makeRegisterStreamMessage("s", "p", "inproc://s"))), "Success");

    ASSERT_EQ(outcome(toManager(Helper::makeDeleteProcessorGroupMessage("G"))), "Success");
    ASSERT_EQ(createGroup("G"), "Success");

    EXPECT_EQ(queryProcessors("G"), "Success: ");
    auto const resolved = client->request(nameService, Helper::makeResolveStreamMessage("s"));
    ASSERT_TRUE(resolved) << "the new name service answers under the old name";
    EXPECT_EQ(resolved->GetResultType(), Record::Error) << "and knows nothing of the old one's streams";
    makeRecorder("G", "p");
    EXPECT_EQ(outcome(toProcessor("G", "p", Helper::makeGetParameterListMessage())), "Success: ");
}

TEST_F(GroupManagerTest, AnswersAnyOtherTypeAsUnknownAndKeepsRunning)
{
    Record create = Helper::makeCreateProcessorMessage("lab.Recorder", "p", {});
    create.SetGroupName(QStringLiteral("G"));
    auto const reply = toManager(create);
    EXPECT_EQ(outcome(reply), "Error: Unknown message type");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->GetMessageType(), Record::Create);
    EXPECT_EQ(reply->GetProcessorName(), QStringLiteral("p")) << "the reply is the request with its result";
    EXPECT_EQ(reply->GetProcessorType(), QStringLiteral("lab.Recorder"));

    // A stop reaches the manager only from its owner, never through the router.
    for (auto const type : { Record::Shutdown, Record::Terminate, Record::Unregister, Record::QueryProcessors }) {
        EXPECT_EQ(
            outcome(toManager(Helper::makeProcessorGroupManagerMessage(type, "G"))), "Error: Unknown message type")
            << type;
    }
    EXPECT_EQ(createGroup("G"), "Success");
    EXPECT_EQ(outcome(toManager(Helper::makeQueryProcessorGroupsMessage())), "Success: G");
}

TEST_F(GroupManagerTest, AnswersARequestClientInAddressedForm)
{
    ASSERT_EQ(createGroup("G"), "Success");
    zel::RequestClientTemplate<zmq::socket_t, zel::ZmqControlSocketTemplate<zel::ST>, zel::SocketReader> requester(
        environment->getRouterFrontendAddress(), true, 10000);
    Record record = Helper::makeQueryProcessorGroupsMessage();
    ASSERT_TRUE(requester.request(zeltest::managerIdentity(), record)) << requester.getLastMessageText();
    EXPECT_EQ(outcome(record), "Success: G");
}

TEST_F(GroupManagerTest, DestroyingTheEnvironmentStopsEveryGroupAndProcessor)
{
    ASSERT_EQ(createGroup("G1"), "Success");
    ASSERT_EQ(createGroup("G2"), "Success");
    Behaviour idle;
    idle.idlePeriod = 0;
    Behaviour slow;
    slow.slowRelease = true;
    std::vector<std::shared_ptr<Journal>> const journals { makeRecorder("G1", "p1"), makeRecorder("G1", "p2", idle),
        makeRecorder("G2", "p3", slow) };

    environment.reset();

    for (auto const& journal : journals) {
        EXPECT_TRUE(journal->released);
        EXPECT_TRUE(journal->destroyed);
    }
}
