// Resetting the context is final for the process, so these run in a program of their own, in
// this order.

#include "support/probe.h"

#include <zel/context.h>
#include <zel/socketerror.h>
#include <zel/zmqcontrollablethread.h>

#include <gtest/gtest.h>

using zel::Context;

TEST(ContextLifecycle, ResetIsFinalAndHarmlessTwice)
{
    std::weak_ptr<zmq::context_t> const before = Context::getZMQContext();
    EXPECT_EQ(zmq_ctx_get(before.lock()->handle(), ZMQ_MAX_SOCKETS), 4095) << "room for thousands of sockets";
    Context::reset();
    EXPECT_TRUE(before.expired()) << "the singleton held the only lasting reference";
    Context::reset();
    Context::Instance().aboutToTerminate();
    EXPECT_EQ(Context::getZMQContext(), nullptr);
    try {
        (void)Context::createSocket(zmq::socket_type::pair);
        ADD_FAILURE() << "a socket without a context";
    } catch (zmq::error_t const& e) {
        EXPECT_EQ(e.num(), ETERM);
    }
}

TEST(ContextLifecycle, ThreadObjectAfterResetFailsBeforeItsThreadStarts)
{
    Context::reset();
    auto journal = std::make_shared<zeltest::ProbeJournal>();
    try {
        zel::ZmqControllableThread<zeltest::Probe> thread(std::make_unique<zeltest::Probe>(journal));
        ADD_FAILURE() << "the thread started";
    } catch (zel::SocketError const& e) {
        EXPECT_STREQ(e.what(), zmq_strerror(ETERM));
    }
    EXPECT_EQ(journal->initializeCalls + journal->releaseCalls, 0);
    EXPECT_EQ(journal->destroyed, 1);
}
