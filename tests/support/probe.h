#pragma once

#include <zel/zmqcontrollable.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace zeltest {

// What happened to a Probe, readable from the test thread while the probe runs elsewhere.
struct ProbeJournal
{
    std::atomic<int> initializeCalls { 0 };
    std::atomic<bool> initializeDone { false };
    std::atomic<bool> processEntered { false };
    std::atomic<bool> processLeft { false };
    std::atomic<int> releaseCalls { 0 };
    std::atomic<bool> releaseDone { false };
    std::atomic<int> destroyed { 0 };
    std::atomic<bool> ranOnOtherThread { true };
    std::thread::id creator = std::this_thread::get_id();
};

// A ZmqControllable whose steps can fail in each way the thread frame distinguishes. Initialize and
// release take a little while, so that a caller that does not wait for them would notice.
class Probe : public zel::ZmqControllable
{
public:
    enum class Fail { Nothing, InitializeFalse, InitializeThrows, InitializeThrowsOther, ProcessThrows, ReleaseThrows };

    explicit Probe(std::shared_ptr<ProbeJournal> journal, Fail fail = Fail::Nothing)
        : journal(std::move(journal))
        , fail(fail)
    { }
    ~Probe() override
    {
        noteThread();
        ++journal->destroyed;
    }

    bool initialize() override
    {
        noteThread();
        ++journal->initializeCalls;
        ZmqControllable::initialize();
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        if (fail == Fail::InitializeFalse)
            return false;
        if (fail == Fail::InitializeThrows)
            throw std::runtime_error("initialize broke");
        if (fail == Fail::InitializeThrowsOther)
            throw 42;
        journal->initializeDone = true;
        return true;
    }

    void process() override
    {
        journal->processEntered = true;
        if (fail == Fail::ProcessThrows)
            throw std::runtime_error("process broke");
        dispatchUntilStopped({});
        journal->processLeft = true;
    }

    void release() override
    {
        noteThread();
        ++journal->releaseCalls;
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        if (fail == Fail::ReleaseThrows || (fail == Fail::InitializeThrows && releaseThrowsToo))
            throw std::runtime_error("release broke");
        journal->releaseDone = true;
    }

    // With Fail::InitializeThrows: release throws as well.
    bool releaseThrowsToo = false;

private:
    void noteThread()
    {
        if (std::this_thread::get_id() == journal->creator)
            journal->ranOnOtherThread = false;
    }

    std::shared_ptr<ProbeJournal> journal;
    Fail fail;
};

} // namespace zeltest
