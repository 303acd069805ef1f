#pragma once

#include <zel/zmqcontroller.h>

#include <QThread>

#include <memory>
#include <string>

namespace zel {

// What a thread's object tells when it fails after its start, where no creator hears of it: found
// by argument-dependent lookup for the object's type; nothing by default.
template <class T> void reportRunningFailure(T const&, std::string const&) { }

// A thread that runs one object: initialize, process until stopped, release, delete; all on the
// thread. The constructor returns once initialize has succeeded (ThreadError otherwise); the
// destructor stops the thread and returns when it has ended. Neither has a time-out. Both run on
// the creator's thread, which owns the thread object; the object itself belongs to the thread.
template <class T, class Controller> class ControllableThread : public QThread
{
public:
    explicit ControllableThread(std::unique_ptr<T> object)
        : QThread(nullptr)
        , controllable(std::move(object))
        , controller(this)
    {
        controller.setupCreator();
    }

    ~ControllableThread() override
    {
        controller.stopThread();
        controller.threadEnded();
        controllable.reset();
    }

    // Any thread: why the thread ended after it had started, when a failure ended it; else empty.
    std::string failureReason() { return controller.failureAfterStart(); }

protected:
    void run() override
    {
        // A release that has begun is not run again, even when it threw.
        bool releaseBegun = false;
        try {
            controller.setState(Starting, false);
            controller.setupThread(controllable.get());
            if (controllable->initialize()) {
                controller.setState(Running, true);
                controllable->process();
                controller.setState(Releasing, false);
                releaseBegun = true;
                controllable->release();
                controller.setState(Finished, true);
            }
        } catch (std::exception const& e) {
            failed(e.what());
        } catch (...) {
            failed("An unknown exception was thrown");
        }
        if (!releaseBegun)
            releaseAfterFailure();
        controllable.reset();
        controller.cleanupThread();
        controller.threadEnded();
    }

private:
    void failed(char const* reason)
    {
        controller.setFailed(failureText(reason));
        // Only a failure after the start misses its creator; the controller knows whether it got there.
        if (!controller.failureAfterStart().empty())
            reportRunningFailure(*controllable, reason);
    }

    static std::string failureText(char const* reason)
    {
        return std::string("ControllableThread::run() failed: ") + reason;
    }

    // Whatever initialize built half-way is freed on this thread, where its sockets were made.
    void releaseAfterFailure()
    {
        try {
            controllable->release();
            controller.setState(Failed, true);
        } catch (std::exception const& e) {
            controller.setFailed(failureText(e.what()));
        } catch (...) {
            controller.setFailed(failureText("An unknown exception was thrown"));
        }
    }

    std::unique_ptr<T> controllable;
    Controller controller;
};

// The thread object of the system: stopped through a PAIR socket that its object polls.
template <class T> class ZmqControllableThread : public ControllableThread<T, ZmqController<T>>
{
public:
    explicit ZmqControllableThread(std::unique_ptr<T> object)
        : ControllableThread<T, ZmqController<T>>(std::move(object))
    { }
};

} // namespace zel
