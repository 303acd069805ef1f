#pragma once

#include <zel/socketerror.h>
#include <zel/threaderror.h>
#include <zel/zel_export.h>
#include <zel/zmqhelper.h>

#include <QByteArray>
#include <QThread>
#include <zmq.hpp>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

namespace zel {

// Where a controlled thread is, as the creator's wait sees it; written under the controller's mutex.
enum ThreadState : int {
    Idle = 0,
    Starting = 1,
    // Not a state a thread takes: the creator stops waiting at or above it, on Running and on every end.
    WakeThreshold = 2,
    Running = 3,
    Releasing = 4,
    Finished = 5,
    Failed = 6,
};

// What the controller templates share, compiled once in the module.
struct ZEL_EXPORT ZmqControllerSupport
{
    // "inproc://ZEL/__", the owner's address as a stream prints a pointer, "__".
    static std::string makeUniqueAddress(void const* owner);
    static std::shared_ptr<zmq::socket_t> makePairSocket();
    // The stop frame: a control record whose only field is MessageType "Shutdown", as XML.
    static QByteArray const& stopFrame();
};

// The start hand-shake between the creator's thread and a new thread: a state under a mutex and a
// condition. setupCreator and stopThread run on the creator's thread, the rest on the new one.
template <class T> class ControllerBase
{
public:
    explicit ControllerBase(QThread* thread)
        : thread(thread)
    { }
    virtual ~ControllerBase() = default;

    // Starts the thread and blocks until it runs; ThreadError when it failed. No time-out.
    virtual void setupCreator()
    {
        std::unique_lock<std::mutex> lock(mutex);
        thread->start(QThread::InheritPriority);
        condition.wait(lock, [this] { return state >= WakeThreshold; });
        // The thread may already have failed in process by the time we wake: not a failed start.
        bool const failed = !reachedRunning;
        lock.unlock();
        if (!failed)
            return;
        thread->wait();
        lock.lock();
        throw ThreadError("Thread failed: " + errorText);
    }
    // Creator's thread: waits without limit until the thread has ended.
    virtual void stopThread() { thread->wait(); }
    // New thread, before initialize: hands the object what it needs to be stopped.
    virtual void setupThread(T*) { }
    // New thread, after the object has been deleted.
    virtual void cleanupThread() { }

    // New thread; `wake` when the creator may have to look (Running and every end).
    void setState(int newState, bool wake)
    {
        std::lock_guard<std::mutex> lock(mutex);
        state = newState;
        if (newState == Running)
            reachedRunning = true;
        if (wake)
            condition.notify_one();
    }

    // The thread's last step, and the joiner's first after the wait. QThread::wait orders the two, but
    // through Qt's own lock, which race detectors do not see; this mutex shows them the same order.
    void threadEnded() { std::lock_guard<std::mutex> lock(mutex); }

    // Any thread: the reasons when the thread ended by a failure after it had started; empty while it
    // runs, after a normal end, and after a failed start, which the creator gets as ThreadError.
    std::string failureAfterStart()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return state == Failed && reachedRunning ? errorText : std::string();
    }

    // New thread: appends a reason, one line each, and reports Failed.
    void setFailed(std::string const& text)
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (!errorText.empty())
            errorText += '\n';
        errorText += text;
        state = Failed;
        condition.notify_one();
    }

protected:
    int state = Idle;
    bool reachedRunning = false;
    QThread* thread;
    std::mutex mutex;
    std::condition_variable condition;
    std::string errorText;
};

// Adds the stop channel: a PAIR socket bound on the new thread, and one on the creator's side.
//
// The creator's socket is made before the thread starts, so a failure to make it leaves as
// SocketError with no thread running. It connects only once the thread runs: the control address
// comes from this object's address, which a new controller may share with one just destroyed whose
// socket still holds the endpoint, and a connect before the bind would reach that dead socket.
// A stop frame that cannot be sent is sent again on a fresh socket every 100 ms while the thread runs.
template <class T> class ZmqController : public ControllerBase<T>
{
public:
    using ControllerBase<T>::ControllerBase;

    void setupCreator() override
    {
        socketAddress = ZmqControllerSupport::makeUniqueAddress(this);
        try {
            creatorSocket = ZmqControllerSupport::makePairSocket();
        } catch (zmq::error_t const& e) {
            throw SocketError(e.what());
        }
        ControllerBase<T>::setupCreator();
        try {
            creatorSocket->connect(socketAddress);
        } catch (zmq::error_t const& e) {
            // The thread runs and no destructor will stop it: stop it on fresh sockets and join it.
            creatorSocket.reset();
            stopThread();
            throw SocketError(e.what());
        }
    }

    // Creator's thread; blocks until the thread has ended.
    void stopThread() override
    {
        if (sendMessage(creatorSocket, ZmqControllerSupport::stopFrame())) {
            this->thread->wait();
            return;
        }
        // The thread's PAIR socket takes one peer and rejects others while the old one is there: let
        // the old one go. A frame sent on a fresh socket may still be dropped with its rejected pipe,
        // so go on sending until the thread has ended.
        creatorSocket.reset();
        while (!this->thread->wait(100))
            sendMessage(freshCreatorSocket(), ZmqControllerSupport::stopFrame());
    }

    // New thread: binds its end of the stop channel; a failed bind is a failed start.
    void setupThread(T* object) override
    {
        auto socket = ZmqControllerSupport::makePairSocket();
        std::string address = ZmqControllerSupport::makeUniqueAddress(this);
        try {
            ZmqHelper::bindSocket(*socket, address);
        } catch (zmq::error_t const& e) {
            throw ThreadError(std::string("ZmqControllableThread: Binding socket failed: ") + e.what());
        }
        threadSocket = socket;
        object->setControlSocket(socket);
    }

protected:
    // One blocking frame; whether all bytes went. Nothing thrown.
    virtual bool sendMessage(std::shared_ptr<zmq::socket_t> const& socket, QByteArray const& message)
    {
        try {
            if (!socket)
                return false;
            auto const sent = socket->send(
                zmq::const_buffer(message.constData(), static_cast<size_t>(message.size())), zmq::send_flags::none);
            return sent.value_or(0) == static_cast<size_t>(message.size());
        } catch (std::exception const&) {
            return false;
        }
    }

private:
    // Its sends give up after 100 ms: a rejected pipe would block a send without end.
    std::shared_ptr<zmq::socket_t> freshCreatorSocket()
    {
        try {
            creatorSocket = ZmqControllerSupport::makePairSocket();
            creatorSocket->set(zmq::sockopt::linger, 0);
            creatorSocket->set(zmq::sockopt::sndtimeo, 100);
            creatorSocket->connect(socketAddress);
        } catch (zmq::error_t const&) {
            creatorSocket.reset();
        }
        return creatorSocket;
    }

    // Made on the new thread and shared with the object; the last reference goes with this
    // controller, on the creator's thread after the join.
    std::shared_ptr<zmq::socket_t> threadSocket;
    std::string socketAddress;
    std::shared_ptr<zmq::socket_t> creatorSocket; // creator's thread only
};

} // namespace zel
