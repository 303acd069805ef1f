#include "support/rawpeers.h"

#include <zel/controlmessagehelper.h>
#include <zel/datastreaminitializer.h>
#include <zel/decodecontrolrecord.h>
#include <zel/endpoints.h>
#include <zel/environment.h>
#include <zel/nameservice.h>
#include <zel/nameserviceclient.h>
#include <zel/processorerror.h>
#include <zel/zelmsg/datastream.h>

#include <gtest/gtest.h>

#include <QRegularExpression>

using zel::ControlMessageHelper;
using zel::Endpoints;
using zeltest::Frames;
using Record = zelmsg::ControlMessage;
using Addresses = std::vector<std::string>;

namespace {

std::string const prefix = zel::internalAddressPrefixDefault;

// A loopback endpoint with a concrete port, as a wildcard bind reports it.
bool isBoundLoopback(std::string const& endpoint)
{
    // Not std::regex: GCC 12 warns of its insides in sanitizer builds, and warnings are errors.
    static QRegularExpression const pattern(QStringLiteral("^tcp://127\\.0\\.0\\.1:[1-9][0-9]*$"));
    return pattern.match(QString::fromStdString(endpoint)).hasMatch();
}

Record decode(std::string const& payload)
{
    return zel::decodeControlRecord({ {}, QByteArray(payload.data(), static_cast<int>(payload.size())) });
}

std::string xmlOf(Record const& record) { return record.GetXmlString().toUtf8().toStdString(); }

void expectError(Record const& reply, std::string const& text)
{
    EXPECT_EQ(reply.GetResultType(), Record::Error);
    EXPECT_EQ(reply.GetMessageText().toStdString(), text);
}

// A name service on its own thread beside an Environment, whose router leads to the routed door.
// The group name is one the group manager never made a group for.
class NameServiceTest : public testing::Test
{
protected:
    // The service stops before the router; the next test's Environment needs the endpoints free.
    void TearDown() override
    {
        service.reset();
        environment.reset();
        EXPECT_TRUE(zeltest::waitForNoRouter());
    }

    // One payload through the router's frontend to the routed door, as a client outside would send it.
    Record routed(std::string const& payload)
    {
        zmq::socket_t client = zeltest::connectClient(environment->getRouterFrontendAddress());
        std::string const service = zeltest::withNul(Endpoints::getNameServiceEndpoint(group, prefix));
        zeltest::sendFrames(client, { "", service, payload });
        auto const reply = zeltest::receiveFrames(client);
        if (!reply || reply->size() != 3 || (*reply)[0] != "" || (*reply)[1] != service) {
            ADD_FAILURE() << "no well-formed reply through the router";
            return {};
        }
        return decode(reply->back());
    }

    // One payload straight to the direct door from a raw REQ socket.
    static Record direct(std::string const& payload)
    {
        zmq::socket_t client = zeltest::makeSocket(zmq::socket_type::req);
        client.connect(Endpoints::getInternalNameServiceEndpoint(group, prefix));
        zeltest::sendFrames(client, { payload });
        auto const reply = zeltest::receiveFrames(client);
        if (!reply || reply->size() != 1) {
            ADD_FAILURE() << "no single-frame reply from the direct door";
            return {};
        }
        return decode(reply->back());
    }

    static constexpr char const* group = "nstest";
    std::unique_ptr<zel::Environment> environment = std::make_unique<zel::Environment>();
    std::unique_ptr<zel::ZmqControllableThread<zel::NameService>> service
        = std::make_unique<zel::ZmqControllableThread<zel::NameService>>(
            std::make_unique<zel::NameService>(group, prefix));
    zel::NameServiceClient client { Endpoints::getInternalNameServiceEndpoint(group, prefix), 10000 };
    std::string processor;
    Addresses addresses;
};

} // namespace

TEST_F(NameServiceTest, RegisterResolveAndDeregisterByTheDirectDoor)
{
    Addresses const unsorted { "tcp://10.0.0.2:7000", "inproc://a" };
    EXPECT_TRUE(client.registerStream("video", "camera", unsorted));
    EXPECT_TRUE(client.registerStream("Video", "upper", { "inproc://u" })) << "names are case sensitive";

    zel::NameServiceClient copy = client;
    EXPECT_FALSE(client.registerStream("video", "intruder", { "inproc://b" }));
    EXPECT_EQ(copy.getLastMessageText(), "Error: 'video' already exists") << "copies share the request client";
    EXPECT_TRUE(client.resolveStream("video", processor, addresses));
    EXPECT_EQ(processor, "camera") << "the first registration stands";
    EXPECT_EQ(addresses, unsorted);
    EXPECT_EQ(client.getLastMessageText(), "") << "a success clears the text of the earlier failure";

    EXPECT_FALSE(client.deregisterStream("never"));
    EXPECT_EQ(client.getLastMessageText(), "Error: 'never' does not exist");
    EXPECT_FALSE(client.resolveStream("never", processor, addresses));
    EXPECT_EQ(client.getLastMessageText(), "Error: 'never' does not exist");
    EXPECT_EQ(processor, "camera") << "a failed resolve leaves its outputs";

    EXPECT_TRUE(client.deregisterStream("video"));
    EXPECT_TRUE(client.registerStream("video", "p2", { "inproc://two" }));
    EXPECT_TRUE(client.resolveStream("video", processor, addresses));
    EXPECT_EQ(processor, "p2");
    EXPECT_EQ(addresses, Addresses { "inproc://two" });
}

TEST_F(NameServiceTest, BothDoorsShareOneStore)
{
    ASSERT_TRUE(client.registerStream("direct", "p1", { "inproc://d1", "inproc://d2" }));
    Record reply = routed(xmlOf(ControlMessageHelper::makeResolveStreamMessage("direct")));
    EXPECT_EQ(reply.GetResultType(), Record::Success);
    EXPECT_FALSE(reply.IsMessageTextSet());
    EXPECT_EQ(reply.GetStreamName(), "direct") << "the reply is the request record";
    EXPECT_EQ(reply.GetProcessorName(), "p1");
    EXPECT_EQ(ControlMessageHelper::fromQStringVector(reply.GetStreamAddresses()),
        (Addresses { "inproc://d1", "inproc://d2" }));

    reply = routed(xmlOf(ControlMessageHelper::makeRegisterStreamMessage("routed", "p2", "inproc://r")));
    EXPECT_EQ(reply.GetResultType(), Record::Success);
    EXPECT_TRUE(client.resolveStream("routed", processor, addresses));
    EXPECT_EQ(processor, "p2");

    EXPECT_EQ(
        routed(xmlOf(ControlMessageHelper::makeDeregisterStreamMessage("direct"))).GetResultType(), Record::Success);
    expectError(
        routed(xmlOf(ControlMessageHelper::makeDeregisterStreamMessage("direct"))), "Error: 'direct' does not exist");
}

TEST_F(NameServiceTest, AnythingButItsThreeTypesGetsUnknownMessageType)
{
    std::string unknownName = xmlOf(ControlMessageHelper::makeResolveStreamMessage("s"));
    unknownName.replace(unknownName.find("ResolveStream"), 13, "ResolveStreams");
    std::vector<std::string> const payloads { xmlOf(ControlMessageHelper::makeStartStreamMessage("s")),
        xmlOf(ControlMessageHelper::makeSetParameterMessage("s", "1")), unknownName, "garbage, \x01 not a record", "" };
    for (std::string const& payload : payloads) {
        SCOPED_TRACE(payload);
        expectError(direct(payload), "Unknown message type");
    }
    expectError(routed(payloads.front()), "Unknown message type");

    // Still serving, by both doors.
    EXPECT_TRUE(client.registerStream("after", "p", { "inproc://after" }));
    EXPECT_EQ(routed(xmlOf(ControlMessageHelper::makeResolveStreamMessage("after"))).GetResultType(), Record::Success);
}

TEST_F(NameServiceTest, InitializerBindsEveryAddressRegistersThemAndFailsOnADuplicate)
{
    zmq::socket_t publisher = zeltest::makeSocket(zmq::socket_type::pub);
    zelmsg::DataStream stream;
    stream.SetName("frames");
    stream.AppendAddress("tcp://127.0.0.1:*");
    stream.AppendAddress("inproc://initializer-test-frames");
    zel::DataStreamInitializer(Endpoints::getProcessorEndpoint(group, "pub1", prefix), "pub1", client)
        .initialize(publisher, stream);

    Addresses const bound = ControlMessageHelper::fromQStringVector(stream.GetAddress());
    ASSERT_EQ(bound.size(), 2u);
    EXPECT_TRUE(isBoundLoopback(bound[0])) << bound[0];
    EXPECT_EQ(bound[1], "inproc://initializer-test-frames");
    zmq::socket_t squatter = zeltest::makeSocket(zmq::socket_type::pub);
    EXPECT_THROW(squatter.bind(bound[0]), zmq::error_t) << "the concrete port is not held by the publisher";
    EXPECT_TRUE(client.resolveStream("frames", processor, addresses));
    EXPECT_EQ(processor, "pub1");
    EXPECT_EQ(addresses, bound);

    std::string const secondEndpoint = Endpoints::getProcessorEndpoint(group, "pub2", prefix);
    zmq::socket_t secondSocket = zeltest::makeSocket(zmq::socket_type::pub);
    zelmsg::DataStream second;
    second.SetName("frames");
    second.AppendAddress("tcp://127.0.0.1:*");
    try {
        zel::DataStreamInitializer(secondEndpoint, "pub2", client).initialize(secondSocket, second);
        ADD_FAILURE() << "the second registration went through";
    } catch (zel::ProcessorError const& e) {
        EXPECT_EQ(std::string(e.what()), secondEndpoint + ": Stream 'frames'could not be registered at nameservice");
    }
    // Bound all the same, and the service's reason stays with the client.
    EXPECT_TRUE(isBoundLoopback(second.GetAddress().value(0).toStdString()));
    EXPECT_EQ(client.getLastMessageText(), "Error: 'frames' already exists");
}
