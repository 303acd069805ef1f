#include "controlplanetest.h"

using namespace cptest;

namespace {

using BadInputTest = ControlPlaneTest;

// Payloads that are no control record, or one of a type that no service serves.
std::vector<std::string> const garbage {
    "",
    "garbage",
    std::string("\0\xff\xfe<\x01", 5),
    "<ControlMessage>",
    "<ControlMessage></ControlMessage>",
    "<Processor><ID>p</ID></Processor>",
    "<ControlMessage><MessageType>NoSuchType</MessageType></ControlMessage>",
    "<ControlMessage><MessageType>14</MessageType></ControlMessage>",
    "<ControlMessage><MessageType>Created</MessageType><Running></Running></ControlMessage>",
};

} // namespace

TEST_F(BadInputTest, GarbageIsAnUnknownMessageTypeToEveryService)
{
    ASSERT_EQ(createGroup("G"), "Success");
    makeRecorder("G", "p");

    for (std::string const& identity :
        { zeltest::managerIdentity(), zeltest::groupIdentity("G"), zeltest::processorIdentity("G", "p") }) {
        for (std::string const& payload : garbage) {
            EXPECT_EQ(outcome(client->requestRaw(identity, payload)), "Error: Unknown message type")
                << identity << " <- " << payload;
        }
    }

    EXPECT_EQ(outcome(toManager(Helper::makeQueryProcessorGroupsMessage())), "Success: G");
    EXPECT_EQ(queryProcessors("G"), "Success: p");
    EXPECT_EQ(outcome(toProcessor("G", "p", Helper::makeGetParameterListMessage())), "Success: ");
}
