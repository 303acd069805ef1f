#pragma once

#include <zel/socketerror.h>
#include <zel/threaderror.h>
#include <zel/zmqhelper.h>
#include <zel/zel_export.h>

#include <QByteArray>
#include <QThread>
#include <zmq.hpp>

#include <climits>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

namespace zel {

enum ThreadState : int {
    Idle = 0,
    Starting = 1,
    // 2: no state; the creator stops waiting at or above it.
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
template <class T>
class ControllerBase
{
public:
    explicit ControllerBase(QThread* thread) : thread(thread) {}
    virtual ~ControllerBase() = default;

    // Starts the thread and blocks until it runs; ThreadError when it failed. No time-out.
    virtual void setupCreator()
    {
        std::unique_lock<std::mutex> lock(mutex);
        thread->start(QThread::InheritPriority);
        condition.wait(lock, [this] { return state >= 2; });
        bool const failed = state == Failed;
        lock.unlock();
        if (!failed)
            return;
        thread->wait();
        throw ThreadError("Thread failed: " + errorText);
    }
    // Waits without limit until the thread has ended.
    virtual void stopThread() { thread->wait(); }
    virtual void setupThread(T*) {}
    virtual void cleanupThread() {}

    void setState(int newState, bool wake)
    {
        std::lock_guard<std::mutex> lock(mutex);
        state = newState;
        if (wake)
            condition.notify_one();
    }

    // Appends a reason, one line each, and reports Failed.
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
    QThread* thread;
    std::mutex mutex;
    std::condition_variable condition;
    std::string errorText;
};

// Adds the stop channel: a PAIR socket bound on the new thread, and one on the creator's side.
//
// The creator's socket is made and connected before the thread starts (inproc allows connecting
// before the bind), so a failure there leaves as SocketError with no thread running. A stop frame
// that cannot be sent is sent again on a fresh socket every 100 ms for as long as the thread runs.
template <class T>
class ZmqController : public ControllerBase<T>
{
public:
    using ControllerBase<T>::ControllerBase;

    void setupCreator() override
    {
        socketAddress = ZmqControllerSupport::makeUniqueAddress(this);
        try {
            creatorSocket = ZmqControllerSupport::makePairSocket();
            creatorSocket->connect(socketAddress);
        } catch (zmq::error_t const& e) {
            throw SocketError(e.what());
        }
        ControllerBase<T>::setupCreator();
    }

    void stopThread() override
    {
        bool sent = sendMessage(creatorSocket, ZmqControllerSupport::stopFrame());
        while (!this->thread->wait(sent ? ULONG_MAX : 100))
            sent = sendMessage(freshCreatorSocket(), ZmqControllerSupport::stopFrame());
    }

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

    void cleanupThread() override {}

protected:
    // One blocking frame; whether all bytes went. Nothing thrown.
    virtual bool sendMessage(std::shared_ptr<zmq::socket_t> const& socket, QByteArray const& message)
    {
        try {
            if (!socket)
                return false;
            auto const sent = socket->send(zmq::const_buffer(message.constData(), static_cast<size_t>(message.size())),
                                           zmq::send_flags::none);
            return sent.value_or(0) == static_cast<size_t>(message.size());
        } catch (std::exception const&) {
            return false;
        }
    }

private:
    std::shared_ptr<zmq::socket_t> freshCreatorSocket()
    {
        try {
            creatorSocket = ZmqControllerSupport::makePairSocket();
            creatorSocket->connect(socketAddress);
        } catch (zmq::error_t const&) {
            creatorSocket.reset();
        }
        return creatorSocket;
    }

    std::shared_ptr<zmq::socket_t> threadSocket;
    std::string socketAddress;
    std::shared_ptr<zmq::socket_t> creatorSocket;
};

} // namespace zel
