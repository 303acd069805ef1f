#include "support/polling.h"
#include "support/probe.h"

#include <zel/threaderror.h>
#include <zel/zmqcontrollablethread.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>

using zel::ThreadError;
using zeltest::Probe;
using zeltest::ProbeJournal;
using ProbeThread = zel::ZmqControllableThread<Probe>;

namespace {

std::unique_ptr<ProbeThread> startProbe(
    std::shared_ptr<ProbeJournal> const& journal, Probe::Fail fail = Probe::Fail::Nothing)
{
    return std::make_unique<ProbeThread>(std::make_unique<Probe>(journal, fail));
}

// The text of the ThreadError that a failed start gives; fails the test if the start succeeds.
std::string startFailure(std::unique_ptr<Probe> probe)
{
    try {
        ProbeThread thread(std::move(probe));
    } catch (ThreadError const& e) {
        std::exception const& asStd = e; // callers catch it as a std::exception
        return asStd.what();
    }
    ADD_FAILURE() << "the thread started";
    return {};
}

std::string const runFailed = "Thread failed: ControllableThread::run() failed: ";

} // namespace

// The constructor returns once initialize is done, the destructor once the object is gone.

TEST(ThreadFrameLifecycle, ConstructorReturnsAfterInitializeDestructorAfterDelete)
{
    auto journal = std::make_shared<ProbeJournal>();
    auto thread = startProbe(journal);
    EXPECT_TRUE(journal->initializeDone);
    EXPECT_EQ(journal->releaseCalls, 0);

    thread.reset();
    EXPECT_TRUE(journal->processLeft);
    EXPECT_TRUE(journal->releaseDone);
    EXPECT_EQ(journal->releaseCalls, 1);
    EXPECT_EQ(journal->destroyed, 1);
    EXPECT_TRUE(journal->ranOnOtherThread);
}

TEST(ThreadFrameLifecycle, EachThreadIsStoppedOnlyByItsOwnObject)
{
    auto first = std::make_shared<ProbeJournal>();
    auto second = std::make_shared<ProbeJournal>();
    auto firstThread = startProbe(first);
    auto secondThread = startProbe(second);

    firstThread.reset();
    EXPECT_EQ(first->destroyed, 1);
    // Nothing should reach the second thread's control socket; give it a moment to show otherwise.
    EXPECT_FALSE(zeltest::waitUntil([&] { return second->processLeft.load(); }, std::chrono::milliseconds(200)));

    secondThread.reset();
    EXPECT_EQ(second->destroyed, 1);
}

TEST(ThreadFrameLifecycle, ThreadObjectMadeWhereTheLastOneWasStops)
{
    // The allocator hands a new thread object the place of the one just gone, and with it the same
    // control address while the old socket may still hold it.
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        auto journal = std::make_shared<ProbeJournal>();
        startProbe(journal).reset();
        EXPECT_EQ(journal->destroyed, 1);
    }
}

// Failed starts: the texts, and release exactly once.

TEST(ThreadFrameStartFailure, InitializeFalseGivesAnEmptyReason)
{
    auto journal = std::make_shared<ProbeJournal>();
    EXPECT_EQ(startFailure(std::make_unique<Probe>(journal, Probe::Fail::InitializeFalse)), "Thread failed: ");
    EXPECT_FALSE(journal->processEntered);
    EXPECT_EQ(journal->releaseCalls, 1);
    EXPECT_EQ(journal->destroyed, 1);
}

TEST(ThreadFrameStartFailure, InitializeThrowingGivesTheExceptionText)
{
    auto journal = std::make_shared<ProbeJournal>();
    EXPECT_EQ(
        startFailure(std::make_unique<Probe>(journal, Probe::Fail::InitializeThrows)), runFailed + "initialize broke");
    EXPECT_FALSE(journal->processEntered);
    EXPECT_EQ(journal->releaseCalls, 1);
    EXPECT_EQ(journal->destroyed, 1);
}

TEST(ThreadFrameStartFailure, InitializeThrowingANonStandardExceptionIsUnknown)
{
    auto journal = std::make_shared<ProbeJournal>();
    EXPECT_EQ(startFailure(std::make_unique<Probe>(journal, Probe::Fail::InitializeThrowsOther)),
        runFailed + "An unknown exception was thrown");
    EXPECT_EQ(journal->releaseCalls, 1);
    EXPECT_EQ(journal->destroyed, 1);
}

TEST(ThreadFrameStartFailure, ReleaseFailingAfterInitializeFailedAddsASecondLine)
{
    auto journal = std::make_shared<ProbeJournal>();
    auto probe = std::make_unique<Probe>(journal, Probe::Fail::InitializeThrows);
    probe->releaseThrowsToo = true;
    EXPECT_EQ(startFailure(std::move(probe)),
        runFailed + "initialize broke\nControllableThread::run() failed: release broke");
    EXPECT_EQ(journal->releaseCalls, 1);
    EXPECT_EQ(journal->destroyed, 1);
}

// Failures after the start end the thread quietly; the owner's stop still returns.

TEST(ThreadFrameRunFailure, ProcessThrowingEndsTheThreadAndStopReturns)
{
    auto journal = std::make_shared<ProbeJournal>();
    auto thread = startProbe(journal, Probe::Fail::ProcessThrows);
    ASSERT_TRUE(zeltest::waitUntil([&] { return journal->destroyed == 1; }));
    EXPECT_EQ(journal->releaseCalls, 1);

    // The stop frame to a thread that has ended lies unread; the wait returns at once.
    thread.reset();
    EXPECT_EQ(journal->releaseCalls, 1);
    EXPECT_EQ(journal->destroyed, 1);
}

TEST(ThreadFrameRunFailure, ReleaseThrowingAfterProcessIsNotRepeated)
{
    auto journal = std::make_shared<ProbeJournal>();
    auto thread = startProbe(journal, Probe::Fail::ReleaseThrows);
    thread.reset();
    EXPECT_TRUE(journal->processLeft);
    EXPECT_EQ(journal->releaseCalls, 1);
    EXPECT_EQ(journal->destroyed, 1);
}

// The stop channel: what is sent, and what happens when it cannot be sent.

namespace {

QByteArray replacementStopFrame;

// Sends whatever the test chose in place of the Shutdown record.
template <class T>
class OtherFrameController : public zel::ZmqController<T>
{
public:
    using zel::ZmqController<T>::ZmqController;

protected:
    bool sendMessage(std::shared_ptr<zmq::socket_t> const& socket, QByteArray const&) override
    {
        return zel::ZmqController<T>::sendMessage(socket, replacementStopFrame);
    }
};

std::atomic<int> sendCalls { 0 };

// The first stop frame does not go; later ones do.
template <class T>
class FailFirstSendController : public zel::ZmqController<T>
{
public:
    using zel::ZmqController<T>::ZmqController;

protected:
    bool sendMessage(std::shared_ptr<zmq::socket_t> const& socket, QByteArray const& message) override
    {
        if (++sendCalls == 1)
            return false;
        return zel::ZmqController<T>::sendMessage(socket, message);
    }
};

} // namespace

class ThreadFrameStopFrame : public testing::TestWithParam<QByteArray>
{
};

TEST_P(ThreadFrameStopFrame, AnyFrameOnTheControlSocketStops)
{
    replacementStopFrame = GetParam();
    auto journal = std::make_shared<ProbeJournal>();
    {
        zel::ControllableThread<Probe, OtherFrameController<Probe>> thread(std::make_unique<Probe>(journal));
    }
    EXPECT_TRUE(journal->processLeft);
    EXPECT_EQ(journal->releaseCalls, 1);
    EXPECT_EQ(journal->destroyed, 1);
}

INSTANTIATE_TEST_SUITE_P(Payloads, ThreadFrameStopFrame,
    testing::Values(QByteArray(), QByteArray("x"),
        QByteArray("<ControlMessage><MessageType>Terminate</MessageType>"
                   "</ControlMessage>")));

TEST(ThreadFrameStop, FailedStopFrameIsSentAgainOnAFreshSocket)
{
    // A fresh socket races the old one for the thread's PAIR socket; repeat to meet the race.
    for (int round = 0; round < 10; ++round) {
        SCOPED_TRACE(round);
        sendCalls = 0;
        auto journal = std::make_shared<ProbeJournal>();
        {
            zel::ControllableThread<Probe, FailFirstSendController<Probe>> thread(std::make_unique<Probe>(journal));
        }
        EXPECT_GE(sendCalls, 2);
        EXPECT_TRUE(journal->processLeft);
        EXPECT_EQ(journal->releaseCalls, 1);
        EXPECT_EQ(journal->destroyed, 1);
    }
}
