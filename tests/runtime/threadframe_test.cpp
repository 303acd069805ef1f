#include "support/polling.h"
#include "support/probe.h"

#include <zel/threaderror.h>
#include <zel/zmqcontrollablethread.h>

#include <gtest/gtest.h>

#include <atomic>
#include <tuple>

using zeltest::Probe;
using zeltest::ProbeJournal;
using ProbeThread = zel::ZmqControllableThread<Probe>;

namespace {

std::atomic<int> sendCalls { 0 };
QByteArray replacementStopFrame;

// Fails the first stop frame, then sends whatever the test chose in place of the Shutdown record.
template <class T> class TestController : public zel::ZmqController<T>
{
public:
    using zel::ZmqController<T>::ZmqController;

protected:
    bool sendMessage(std::shared_ptr<zmq::socket_t> const& socket, QByteArray const&) override
    {
        return ++sendCalls > 1 && zel::ZmqController<T>::sendMessage(socket, replacementStopFrame);
    }
};

void expectReleasedOnce(ProbeJournal const& journal)
{
    EXPECT_EQ(journal.releaseCalls, 1);
    EXPECT_EQ(journal.destroyed, 1);
}

} // namespace

// The allocator hands a new thread object the place of the one just gone, and with it the same
// control address while the old socket may still hold it: repeat to meet that.
TEST(ThreadFrame, ConstructorWaitsForInitializeDestructorForDeleteAgainAndAgain)
{
    auto other = std::make_shared<ProbeJournal>();
    ProbeThread otherThread(std::make_unique<Probe>(other));
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        auto journal = std::make_shared<ProbeJournal>();
        auto thread = std::make_unique<ProbeThread>(std::make_unique<Probe>(journal));
        EXPECT_TRUE(journal->initializeDone);
        thread.reset();
        EXPECT_TRUE(journal->processLeft && journal->releaseDone && journal->ranOnOtherThread);
        expectReleasedOnce(*journal);
    }
    // Each object stops only its own thread.
    EXPECT_FALSE(zeltest::waitUntil([&] { return other->processLeft.load(); }, std::chrono::milliseconds(200)));
}

TEST(ThreadFrame, FailedStartsGiveTheirTextAndReleaseOnce)
{
    std::string const runFailed = "Thread failed: ControllableThread::run() failed: ";
    std::tuple<Probe::Fail, bool, std::string> const cases[] = {
        { Probe::Fail::InitializeFalse, false, "Thread failed: " },
        { Probe::Fail::InitializeThrows, false, runFailed + "initialize broke" },
        { Probe::Fail::InitializeThrowsOther, false, runFailed + "An unknown exception was thrown" },
        { Probe::Fail::InitializeThrows, true,
            runFailed + "initialize broke\nControllableThread::run() failed: release broke" },
    };
    for (auto const& [fail, releaseThrowsToo, text] : cases) {
        SCOPED_TRACE(text);
        auto journal = std::make_shared<ProbeJournal>();
        auto probe = std::make_unique<Probe>(journal, fail);
        probe->releaseThrowsToo = releaseThrowsToo;
        try {
            ProbeThread thread(std::move(probe));
            ADD_FAILURE() << "the thread started";
        } catch (std::exception const& e) { // callers catch the ThreadError as a std::exception
            EXPECT_NE(dynamic_cast<zel::ThreadError const*>(&e), nullptr);
            EXPECT_EQ(e.what(), text);
        }
        EXPECT_FALSE(journal->processEntered);
        expectReleasedOnce(*journal);
    }
}

// Failures once running end the thread quietly, not as a failed start; the owner's stop still returns.
TEST(ThreadFrame, FailuresAfterRunningAreNotFailedStarts)
{
    auto journal = std::make_shared<ProbeJournal>();
    auto thread = std::make_unique<ProbeThread>(std::make_unique<Probe>(journal, Probe::Fail::ProcessThrows));
    ASSERT_TRUE(zeltest::waitUntil([&] { return journal->destroyed == 1; }));
    thread.reset(); // the stop frame to an ended thread lies unread
    expectReleasedOnce(*journal);

    journal = std::make_shared<ProbeJournal>();
    std::make_unique<ProbeThread>(std::make_unique<Probe>(journal, Probe::Fail::ReleaseThrows)).reset();
    EXPECT_TRUE(journal->processLeft);
    expectReleasedOnce(*journal);
}

TEST(ThreadFrame, FailedStopFrameIsSentAgainOnAFreshSocketAndAnyFrameStops)
{
    QByteArray const frames[] = { QByteArray(), QByteArray("x"),
        QByteArray("<ControlMessage><MessageType>Terminate</MessageType></ControlMessage>") };
    // A fresh socket races the old one for the thread's PAIR socket; repeat to meet the race.
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(round);
        replacementStopFrame = frames[round % 3];
        sendCalls = 0;
        auto journal = std::make_shared<ProbeJournal>();
        {
            zel::ControllableThread<Probe, TestController<Probe>> thread(std::make_unique<Probe>(journal));
        }
        EXPECT_GE(sendCalls, 2);
        EXPECT_TRUE(journal->processLeft);
        expectReleasedOnce(*journal);
    }
}
