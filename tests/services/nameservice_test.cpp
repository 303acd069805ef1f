#include "support/environmenttest.h"

#include <zel/controlmessagehelper.h>
#include <zel/decodecontrolrecord.h>
#include <zel/endpoints.h>
#include <zel/nameserviceclient.h>

using zel::ControlMessageHelper;
using zel::Endpoints;
using zeltest::outcome;
using Record = zelmsg::ControlMessage;
using Addresses = std::vector<std::string>;

namespace {

std::string xmlOf(Record const& record) { return record.GetXmlString().toUtf8().toStdString(); }

// The name service of group "g" by its two doors: routed, as for a client, and direct, as for processors.
class NameServiceTest : public zeltest::EnvironmentTest
{
protected:
    void SetUp() override
    {
        EnvironmentTest::SetUp();
        names.emplace(Endpoints::getInternalNameServiceEndpoint("g", zeltest::internalPrefix), 10000);
    }

    std::string routed(std::string const& payload)
    {
        return outcome(client->requestRaw(zeltest::nameServiceIdentity("g"), payload));
    }

    // One payload straight to the direct door from a raw REQ socket.
    static std::string direct(std::string const& payload)
    {
        zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::req);
        socket.connect(Endpoints::getInternalNameServiceEndpoint("g", zeltest::internalPrefix));
        zeltest::sendFrames(socket, { payload });
        auto const reply = zeltest::receiveFrames(socket);
        if (!reply || reply->size() != 1)
            return "no single-frame reply";
        return outcome(zel::decodeControlRecord({ {}, QByteArray::fromStdString(reply->back()) }));
    }

    std::optional<zel::NameServiceClient> names;
    std::string processor;
    Addresses addresses;
};

} // namespace

TEST_F(NameServiceTest, RegisterResolveAndDeregisterByEitherDoorOnOneStore)
{
    Addresses const unsorted { "tcp://10.0.0.2:7000", "inproc://a" };
    EXPECT_TRUE(names->registerStream("video", "camera", unsorted));
    EXPECT_TRUE(names->registerStream("Video", "upper", { "inproc://u" })) << "names are case sensitive";

    zel::NameServiceClient copy = *names;
    EXPECT_FALSE(names->registerStream("video", "intruder", { "inproc://b" }));
    EXPECT_EQ(copy.getLastMessageText(), "Error: 'video' already exists") << "copies share the request client";
    EXPECT_TRUE(names->resolveStream("video", processor, addresses));
    EXPECT_EQ(processor, "camera") << "the first registration stands";
    EXPECT_EQ(addresses, unsorted);
    EXPECT_EQ(names->getLastMessageText(), "") << "a success clears the text of the earlier failure";

    EXPECT_FALSE(names->resolveStream("never", processor, addresses));
    EXPECT_EQ(names->getLastMessageText(), "Error: 'never' does not exist");
    EXPECT_EQ(processor, "camera") << "a failed resolve leaves its outputs";

    EXPECT_EQ(routed(xmlOf(ControlMessageHelper::makeDeregisterStreamMessage("video"))), "Success");
    EXPECT_EQ(routed(xmlOf(ControlMessageHelper::makeDeregisterStreamMessage("video"))),
        "Error: Error: 'video' does not exist");
    EXPECT_FALSE(names->resolveStream("video", processor, addresses)) << "one store behind both doors";
}

TEST_F(NameServiceTest, AnythingButItsThreeTypesGetsUnknownMessageTypeAtEitherDoor)
{
    std::string unknownName = xmlOf(ControlMessageHelper::makeResolveStreamMessage("s"));
    unknownName.replace(unknownName.find("ResolveStream"), 13, "ResolveStreams");
    for (std::string const& payload : { xmlOf(ControlMessageHelper::makeStartStreamMessage("s")),
             xmlOf(ControlMessageHelper::makeSetParameterMessage("s", "1")), unknownName,
             std::string("garbage, \x01 not a record"), std::string() }) {
        EXPECT_EQ(direct(payload), "Error: Unknown message type") << payload;
        EXPECT_EQ(routed(payload), "Error: Unknown message type") << payload;
    }
    EXPECT_TRUE(names->registerStream("after", "p", { "inproc://after" })) << "still serving";
}
