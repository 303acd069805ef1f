#include "support/probe.h"
#include "support/rawpeers.h"
#include "support/tracecapture.h"

#include <zel/router.h>
#include <zel/zmqcontrollablethread.h>

#include <gtest/gtest.h>

using zeltest::Frames;
using zeltest::withNul;

namespace {

using RouterThread = zel::ZmqControllableThread<zel::Router>;

class RouterTest : public testing::Test
{
protected:
    RouterTest() { router = std::make_unique<RouterThread>(std::make_unique<zel::Router>(frontendAddress)); }

    void TearDown() override
    {
        router.reset();
        EXPECT_TRUE(zeltest::waitForNoRouter());
    }

    std::shared_ptr<std::string> frontendAddress = std::make_shared<std::string>("tcp://127.0.0.1:*");
    std::unique_ptr<RouterThread> router;
    zeltest::TraceCapture traces;
};

} // namespace

TEST_F(RouterTest, AbsentDestinationIsTracedOnceAndTheNextMessagePasses)
{
    zmq::socket_t serviceSocket = zeltest::connectService("svc");
    zmq::socket_t second = zeltest::connectService("second");
    zmq::socket_t client = zeltest::connectClient(*frontendAddress, "client");

    zeltest::sendFrames(client, { "", withNul("nobody"), "lost" });
    zeltest::sendFrames(client, { "", "svc", "without its NUL" });
    zeltest::sendFrames(client, { "", withNul("svc"), "found" });
    EXPECT_EQ(zeltest::receiveFrames(serviceSocket), (Frames { "", withNul("client"), "found" }));
    ASSERT_EQ(traces.count(), 2);
    EXPECT_EQ(traces.texts()[0], QStringLiteral("Router: Failed to deliver message from 'client' to 'nobody'!"));

    // Replies to a client that has gone are lost, and internal peers cannot reach each other.
    zeltest::sendFrames(serviceSocket, { "", withNul("gone"), "too late" });
    zeltest::sendFrames(serviceSocket, { "", withNul("second"), "sideways" });
    ASSERT_TRUE(traces.waitForCount(4));
    EXPECT_EQ(traces.texts()[3], QStringLiteral("Router: Failed to deliver message from 'svc' to 'second'!"));
    EXPECT_TRUE(zeltest::roundTrip(*frontendAddress, "svc2"));
}

TEST_F(RouterTest, MalformedFrontendMessageEndsOnlyTheRouterThread)
{
    auto bystander = std::make_shared<zeltest::ProbeJournal>();
    zel::ZmqControllableThread<zeltest::Probe> other(std::make_unique<zeltest::Probe>(bystander));

    zmq::socket_t client = zeltest::connectClient(*frontendAddress);
    zeltest::sendFrames(client, { "a single frame" });
    EXPECT_TRUE(zeltest::waitForNoRouter()) << "the router's thread ended and closed its sockets";

    router.reset(); // returns although its thread is long gone
    EXPECT_FALSE(bystander->processLeft);
}
