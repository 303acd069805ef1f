#include "support/rawpeers.h"

#include <zel/environment.h>
#include <zel/threaderror.h>

#include <gtest/gtest.h>

using zel::Environment;

namespace {

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

std::string const startFailed = "Thread failed: ControllableThread::run() failed: ";

} // namespace

TEST_F(EnvironmentTest, WildcardPortIsReportedAsBound)
{
    Environment environment("tcp://127.0.0.1:*");
    std::string const address = environment.getRouterFrontendAddress();
    std::string const host = "tcp://127.0.0.1:";
    ASSERT_EQ(address.rfind(host, 0), 0u) << address;
    EXPECT_EQ(address.substr(host.size()).find_first_not_of("0123456789"), std::string::npos) << address;
    EXPECT_TRUE(zeltest::roundTrip(address, "inproc://zel/g1"));
}

TEST_F(EnvironmentTest, FailedStartsLeaveNoRouterAndTheRunningOneAlone)
{
    EXPECT_EQ(startFailure("nosuchprotocol://frontend"), startFailed + zmq_strerror(EPROTONOSUPPORT));
    // Its router had bound the internal endpoint before the frontend failed; it lets it go.
    EXPECT_TRUE(zeltest::waitForNoRouter());

    Environment first;
    EXPECT_EQ(first.getRouterFrontendAddress(), "inproc://zel/__router__external__");
    EXPECT_EQ(startFailure("inproc://environment-test-second"), startFailed + zmq_strerror(EADDRINUSE));
    EXPECT_TRUE(zeltest::roundTrip(first.getRouterFrontendAddress(), "inproc://zel/g1"));
}
