#include "support/probe.h"
#include "support/rawpeers.h"
#include "support/tracecapture.h"

#include <zel/endpoints.h>
#include <zel/router.h>
#include <zel/zmqcontrollablethread.h>

#include <gtest/gtest.h>

#include <atomic>

using zeltest::Frames;
using zeltest::withNul;

namespace {

std::atomic<bool> routerThreadEnded { false };

// Tells when the router's thread has run its last step.
template <class T>
class ObservedController : public zel::ZmqController<T>
{
public:
    using zel::ZmqController<T>::ZmqController;
    void cleanupThread() override
    {
        zel::ZmqController<T>::cleanupThread();
        routerThreadEnded = true;
    }
};

using RouterThread = zel::ControllableThread<zel::Router, ObservedController<zel::Router>>;

std::string const prefix = zel::internalAddressPrefixDefault;

class RouterTest : public testing::Test
{
protected:
    RouterTest()
    {
        routerThreadEnded = false;
        router = std::make_unique<RouterThread>(std::make_unique<zel::Router>(frontendAddress));
    }

    void TearDown() override
    {
        router.reset();
        EXPECT_TRUE(zeltest::waitForNoRouter());
    }

    std::shared_ptr<std::string> frontendAddress = std::make_shared<std::string>("tcp://127.0.0.1:*");
    std::unique_ptr<RouterThread> router;
};

} // namespace

TEST_F(RouterTest, WritesTheBoundFrontendEndpointBack)
{
    EXPECT_EQ(frontendAddress->rfind("tcp://127.0.0.1:", 0), 0u);
    EXPECT_EQ(frontendAddress->find('*'), std::string::npos) << *frontendAddress;
}

TEST_F(RouterTest, ForwardsARequestToItsServiceAndTheReplyBack)
{
    std::string const service = zel::Endpoints::getGroupEndpoint("g1", prefix);
    zmq::socket_t serviceSocket = zeltest::connectService(service);
    zmq::socket_t client = zeltest::connectClient(*frontendAddress);

    zeltest::sendFrames(client, { "", withNul(service), "request" });
    auto const request = zeltest::receiveFrames(serviceSocket);
    ASSERT_TRUE(request);
    ASSERT_EQ(request->size(), 3u);
    EXPECT_EQ((*request)[0], "");
    std::string const clientIdentity = (*request)[1];
    EXPECT_FALSE(clientIdentity.empty()) << "ZeroMQ names a client without an identity";
    EXPECT_EQ((*request)[2], "request");

    zeltest::sendFrames(serviceSocket, { "", clientIdentity, "reply" });
    EXPECT_EQ(zeltest::receiveFrames(client), (Frames { "", withNul(service), "reply" }));
}

TEST_F(RouterTest, AbsentDestinationIsTracedOnceAndTheNextMessagePasses)
{
    zeltest::TraceCapture traces;
    zmq::socket_t serviceSocket = zeltest::connectService("svc");
    zmq::socket_t client = zeltest::connectClient(*frontendAddress, "client");

    zeltest::sendFrames(client, { "", withNul("nobody"), "lost" });
    zeltest::sendFrames(client, { "", withNul("svc"), "found" });
    EXPECT_EQ(zeltest::receiveFrames(serviceSocket), (Frames { "", withNul("client"), "found" }));
    ASSERT_EQ(traces.count(), 1);
    EXPECT_EQ(traces.texts()[0], QStringLiteral("Router: Failed to deliver message from 'client' to 'nobody'!"));
    EXPECT_EQ(traces.files()[0], QStringLiteral("impl/router"));
}

TEST_F(RouterTest, DestinationWithoutItsNulDoesNotArrive)
{
    zeltest::TraceCapture traces;
    zmq::socket_t serviceSocket = zeltest::connectService("svc");
    zmq::socket_t client = zeltest::connectClient(*frontendAddress, "client");

    zeltest::sendFrames(client, { "", "svc", "looks right" });
    zeltest::sendFrames(client, { "", withNul("svc"), "is right" });
    EXPECT_EQ(zeltest::receiveFrames(serviceSocket), (Frames { "", withNul("client"), "is right" }));
    EXPECT_EQ(traces.count(), 1);
}

TEST_F(RouterTest, InternalPeersCannotReachEachOther)
{
    zeltest::TraceCapture traces;
    zmq::socket_t first = zeltest::connectService("first");
    zmq::socket_t second = zeltest::connectService("second");

    zeltest::sendFrames(first, { "", withNul("second"), "sideways" });
    ASSERT_TRUE(traces.waitForCount(1));
    EXPECT_EQ(traces.texts()[0], QStringLiteral("Router: Failed to deliver message from 'first' to 'second'!"));

    zmq::socket_t client = zeltest::connectClient(*frontendAddress, "client");
    zeltest::sendFrames(client, { "", withNul("second"), "through the door" });
    EXPECT_EQ(zeltest::receiveFrames(second), (Frames { "", withNul("client"), "through the door" }));
}

TEST_F(RouterTest, ReplyToAClientThatHasGoneIsLostQuietly)
{
    zmq::socket_t serviceSocket = zeltest::connectService("svc");
    auto request = [&] {
        zmq::socket_t client = zeltest::connectClient(*frontendAddress);
        zeltest::sendFrames(client, { "", withNul("svc"), "request" });
        return zeltest::receiveFrames(serviceSocket);
    }();
    ASSERT_TRUE(request);
    zeltest::sendFrames(serviceSocket, { "", (*request)[1], "too late" });

    EXPECT_TRUE(zeltest::roundTrip(*frontendAddress, "svc2"));
    EXPECT_FALSE(routerThreadEnded);
}

TEST_F(RouterTest, MalformedFrontendMessageEndsOnlyTheRouterThread)
{
    auto bystander = std::make_shared<zeltest::ProbeJournal>();
    zel::ZmqControllableThread<zeltest::Probe> other(std::make_unique<zeltest::Probe>(bystander));

    zmq::socket_t client = zeltest::connectClient(*frontendAddress);
    zeltest::sendFrames(client, { "a single frame" });
    ASSERT_TRUE(zeltest::waitUntil([] { return routerThreadEnded.load(); }));
    EXPECT_TRUE(zeltest::waitForNoRouter()) << "the router's sockets are closed";
    EXPECT_FALSE(bystander->processLeft);

    router.reset(); // returns although its thread is long gone
    EXPECT_FALSE(bystander->processLeft);
}
