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

#include <algorithm>

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
    std::string const stem = "tcp://127.0.0.1:";
    std::string const port = endpoint.substr(std::min(stem.size(), endpoint.size()));
    return endpoint.compare(0, stem.size(), stem) == 0 && !port.empty() && port[0] != '0'
        && port.find_first_not_of("0123456789") == std::string::npos;
}

Record decode(std::string const& payload)
{
    return zel::decodeControlRecord({ {}, QByteArray(payload.data(), static_cast<int>(payload.size())) });
}

std::string xmlOf(Record const& record) { return record.GetXmlString().toUtf8().toStdString(); }

// A name service on its own thread beside an Environment, whose router leads to the routed door.
// The group names are ones the group manager never made a group for.
class NameServiceTest : public testing::Test
{
protected:
    void SetUp() override { startService(group); }

    // Services stop before the router; the next test's Environment needs the endpoints free.
    void TearDown() override
    {
        services.clear();
        environment.reset();
        EXPECT_TRUE(zeltest::waitForNoRouter());
    }

    void startService(std::string const& groupName)
    {
        services.push_back(std::make_unique<zel::ZmqControllableThread<zel::NameService>>(
            std::make_unique<zel::NameService>(groupName, prefix)));
    }

    static zel::NameServiceClient directClient(std::string const& groupName = group, int timeout = 10000)
    {
        return zel::NameServiceClient(Endpoints::getInternalNameServiceEndpoint(groupName, prefix), timeout);
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
    std::vector<std::unique_ptr<zel::ZmqControllableThread<zel::NameService>>> services;
};

void expectError(Record const& reply, std::string const& text)
{
    EXPECT_EQ(reply.GetResultType(), Record::Error);
    EXPECT_EQ(reply.GetMessageText().toStdString(), text);
}

} // namespace

TEST_F(NameServiceTest, RegisterResolveAndTheFirstRegistrationStands)
{
    zel::NameServiceClient client = directClient();
    Addresses const unsorted { "tcp://10.0.0.2:7000", "inproc://a" };
    EXPECT_TRUE(client.registerStream("video", "camera", unsorted));
    std::string processor;
    Addresses addresses;
    EXPECT_TRUE(client.resolveStream("video", processor, addresses));
    EXPECT_EQ(processor, "camera");
    EXPECT_EQ(addresses, unsorted);

    zel::NameServiceClient copy = client;
    EXPECT_FALSE(client.registerStream("video", "intruder", { "inproc://b" }));
    EXPECT_EQ(client.getLastMessageText(), "Error: 'video' already exists");
    EXPECT_EQ(copy.getLastMessageText(), "Error: 'video' already exists") << "copies share the request client";

    EXPECT_TRUE(client.resolveStream("video", processor, addresses));
    EXPECT_EQ(processor, "camera");
    EXPECT_EQ(addresses, unsorted);
    EXPECT_EQ(client.getLastMessageText(), "") << "a success clears the text of the earlier failure";
}

TEST_F(NameServiceTest, DeregisterFreesTheNameAndAbsentNamesAreErrors)
{
    zel::NameServiceClient client = directClient();
    EXPECT_FALSE(client.deregisterStream("never"));
    EXPECT_EQ(client.getLastMessageText(), "Error: 'never' does not exist");
    std::string processor = "untouched";
    Addresses addresses { "untouched" };
    EXPECT_FALSE(client.resolveStream("never", processor, addresses));
    EXPECT_EQ(client.getLastMessageText(), "Error: 'never' does not exist");
    EXPECT_EQ(processor, "untouched");
    EXPECT_EQ(addresses, Addresses { "untouched" });

    EXPECT_TRUE(client.registerStream("s", "p1", { "inproc://one" }));
    EXPECT_TRUE(client.deregisterStream("s"));
    EXPECT_FALSE(client.resolveStream("s", processor, addresses));
    EXPECT_TRUE(client.registerStream("s", "p2", { "inproc://two" }));
    EXPECT_TRUE(client.resolveStream("s", processor, addresses));
    EXPECT_EQ(processor, "p2");
    EXPECT_EQ(addresses, Addresses { "inproc://two" });
}

TEST_F(NameServiceTest, NamesAreCaseSensitive)
{
    zel::NameServiceClient client = directClient();
    EXPECT_TRUE(client.registerStream("Video", "upper", { "inproc://u" }));
    EXPECT_TRUE(client.registerStream("video", "lower", { "inproc://l" }));
    std::string processor;
    Addresses addresses;
    EXPECT_TRUE(client.resolveStream("Video", processor, addresses));
    EXPECT_EQ(processor, "upper");
    EXPECT_TRUE(client.resolveStream("video", processor, addresses));
    EXPECT_EQ(processor, "lower");
    EXPECT_FALSE(client.deregisterStream("VIDEO"));
}

TEST_F(NameServiceTest, BothDoorsShareOneStore)
{
    zel::NameServiceClient client = directClient();
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
    std::string processor;
    Addresses addresses;
    EXPECT_TRUE(client.resolveStream("routed", processor, addresses));
    EXPECT_EQ(processor, "p2");

    reply = routed(xmlOf(ControlMessageHelper::makeDeregisterStreamMessage("direct")));
    EXPECT_EQ(reply.GetResultType(), Record::Success);
    EXPECT_FALSE(client.resolveStream("direct", processor, addresses));
    expectError(
        routed(xmlOf(ControlMessageHelper::makeDeregisterStreamMessage("direct"))), "Error: 'direct' does not exist");
}

TEST_F(NameServiceTest, AnythingButItsThreeTypesGetsUnknownMessageType)
{
    std::string unknownName = xmlOf(ControlMessageHelper::makeResolveStreamMessage("s"));
    unknownName.replace(unknownName.find("ResolveStream"), 13, "ResolveStreams");
    std::vector<std::string> const payloads {
        xmlOf(ControlMessageHelper::makeStartStreamMessage("s")),
        xmlOf(ControlMessageHelper::makeSetParameterMessage("s", "1")),
        unknownName,
        "garbage, \x01 not a record",
        "",
    };
    for (std::string const& payload : payloads) {
        SCOPED_TRACE(payload);
        expectError(direct(payload), "Unknown message type");
    }
    expectError(routed(payloads.front()), "Unknown message type");

    // Still serving, by both doors.
    zel::NameServiceClient client = directClient();
    EXPECT_TRUE(client.registerStream("after", "p", { "inproc://after" }));
    EXPECT_EQ(routed(xmlOf(ControlMessageHelper::makeResolveStreamMessage("after"))).GetResultType(), Record::Success);
}

TEST_F(NameServiceTest, EachGroupHasItsOwnStore)
{
    startService("nstest-other");
    zel::NameServiceClient mine = directClient();
    zel::NameServiceClient other = directClient("nstest-other");
    EXPECT_TRUE(mine.registerStream("s", "mine", { "inproc://m" }));
    EXPECT_TRUE(other.registerStream("s", "other", { "inproc://o" }));
    std::string processor;
    Addresses addresses;
    EXPECT_TRUE(mine.resolveStream("s", processor, addresses));
    EXPECT_EQ(processor, "mine");
    EXPECT_TRUE(other.resolveStream("s", processor, addresses));
    EXPECT_EQ(processor, "other");
}

// The stream initialiser against the same service.

TEST_F(NameServiceTest, InitializerBindsEveryAddressAndRegistersWhatWasBound)
{
    zel::NameServiceClient client = directClient();
    std::string const processor = "pub1";
    std::string const endpoint = Endpoints::getProcessorEndpoint(group, processor, prefix);
    zel::DataStreamInitializer initializer(endpoint, processor, client);
    zmq::socket_t publisher = zeltest::makeSocket(zmq::socket_type::pub);
    zelmsg::DataStream stream;
    stream.SetName("frames");
    stream.AppendAddress("tcp://127.0.0.1:*");
    stream.AppendAddress("inproc://initializer-test-frames");

    initializer.initialize(publisher, stream);

    Addresses const bound = ControlMessageHelper::fromQStringVector(stream.GetAddress());
    ASSERT_EQ(bound.size(), 2u);
    EXPECT_TRUE(isBoundLoopback(bound[0])) << bound[0];
    EXPECT_EQ(bound[1], "inproc://initializer-test-frames");
    zmq::socket_t squatter = zeltest::makeSocket(zmq::socket_type::pub);
    EXPECT_THROW(squatter.bind(bound[0]), zmq::error_t) << "the concrete port is not held by the publisher";

    std::string registeredBy;
    Addresses registered;
    EXPECT_TRUE(client.resolveStream("frames", registeredBy, registered));
    EXPECT_EQ(registeredBy, processor);
    EXPECT_EQ(registered, bound);
}

TEST_F(NameServiceTest, InitializerOfASecondPublisherOfTheSameNameFails)
{
    zel::NameServiceClient client = directClient();
    std::string const first = "pub1";
    std::string const firstEndpoint = Endpoints::getProcessorEndpoint(group, first, prefix);
    zmq::socket_t firstSocket = zeltest::makeSocket(zmq::socket_type::pub);
    zelmsg::DataStream firstStream;
    firstStream.SetName("dup");
    firstStream.AppendAddress("inproc://initializer-test-dup");
    zel::DataStreamInitializer(firstEndpoint, first, client).initialize(firstSocket, firstStream);

    std::string const second = "pub2";
    std::string const secondEndpoint = Endpoints::getProcessorEndpoint(group, second, prefix);
    zmq::socket_t secondSocket = zeltest::makeSocket(zmq::socket_type::pub);
    zelmsg::DataStream secondStream;
    secondStream.SetName("dup");
    secondStream.AppendAddress("tcp://127.0.0.1:*");
    try {
        zel::DataStreamInitializer(secondEndpoint, second, client).initialize(secondSocket, secondStream);
        ADD_FAILURE() << "the second registration went through";
    } catch (zel::ProcessorError const& e) {
        EXPECT_EQ(std::string(e.what()), secondEndpoint + ": Stream 'dup'could not be registered at nameservice");
    }
    // Bound all the same, and the service's reason stays with the client.
    EXPECT_TRUE(isBoundLoopback(secondStream.GetAddress().value(0).toStdString()));
    EXPECT_EQ(client.getLastMessageText(), "Error: 'dup' already exists");
    std::string processor;
    Addresses addresses;
    EXPECT_TRUE(client.resolveStream("dup", processor, addresses));
    EXPECT_EQ(processor, first);
}
