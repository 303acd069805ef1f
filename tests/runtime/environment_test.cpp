#include "support/rawpeers.h"

#include <zel/environment.h>
#include <zel/threaderror.h>

#include <gtest/gtest.h>

#include <cstdlib>

using zel::Environment;

namespace {

std::string const startFailed = "Thread failed: ControllableThread::run() failed: ";

// One Environment per process at a time: each test's is gone, sockets and all, before the next.
class EnvironmentTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_TRUE(zeltest::waitForNoRouter()); }
};

std::string startFailure(std::string const& frontendAddress)
{
    try {
        Environment environment(frontendAddress);
    } catch (zel::ThreadError const& e) {
        return e.what();
    }
    return "started";
}

} // namespace

TEST_F(EnvironmentTest, DefaultFrontendIsTheInprocAddress)
{
    Environment environment;
    EXPECT_EQ(environment.getRouterFrontendAddress(), "inproc://zel/__router__external__");
    EXPECT_TRUE(zeltest::roundTrip(environment.getRouterFrontendAddress(), "inproc://zel/g1"));
}

TEST_F(EnvironmentTest, WildcardPortIsReportedAsBound)
{
    Environment environment("tcp://127.0.0.1:*");
    std::string const address = environment.getRouterFrontendAddress();
    std::string const host = "tcp://127.0.0.1:";
    ASSERT_EQ(address.rfind(host, 0), 0u) << address;
    std::string const port = address.substr(host.size());
    EXPECT_EQ(port.find_first_not_of("0123456789"), std::string::npos) << address;
    EXPECT_GT(std::atoi(port.c_str()), 0) << address;
    EXPECT_TRUE(zeltest::roundTrip(address, "inproc://zel/g1"));
}

TEST_F(EnvironmentTest, SecondEnvironmentCannotStartWhileTheFirstRuns)
{
    Environment first("inproc://environment-test-first");
    EXPECT_EQ(startFailure("inproc://environment-test-second"), startFailed + zmq_strerror(EADDRINUSE));
    EXPECT_TRUE(zeltest::roundTrip(first.getRouterFrontendAddress(), "inproc://zel/g1"));
}

TEST_F(EnvironmentTest, UnbindableFrontendFailsAndLeavesNoRouter)
{
    EXPECT_EQ(startFailure("nosuchprotocol://frontend"), startFailed + zmq_strerror(EPROTONOSUPPORT));
    // Its router had bound the internal endpoint before the frontend failed; it lets it go.
    EXPECT_TRUE(zeltest::waitForNoRouter());
}

TEST_F(EnvironmentTest, DestroyingCompletesAfterTheRouterDied)
{
    Environment environment("tcp://127.0.0.1:*");
    zmq::socket_t client = zeltest::connectClient(environment.getRouterFrontendAddress());
    zeltest::sendFrames(client, { "a single frame" });
    EXPECT_TRUE(zeltest::waitForNoRouter()) << "the malformed message ends the router";
}
