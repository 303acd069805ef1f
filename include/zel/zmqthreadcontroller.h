#pragma once

#include <zel/zel_export.h>
#include <zel/zelmsg/controlmessage.h>

#include <zmq.hpp>

#include <memory>
#include <string>

namespace zel {

// A start report over a socket, for code that runs threads of its own: the creator constructs it,
// hands a copy to the thread and calls waitForThread; the thread calls signalReady or signalError
// exactly once. Copies share the creator's socket.
class ZEL_EXPORT ZmqThreadController
{
public:
    // Binds a PAIR socket at a unique inproc address; failures leave as they come.
    ZmqThreadController();
    ZmqThreadController(ZmqThreadController const&) = default;
    ZmqThreadController& operator=(ZmqThreadController const&) = default;
    ZmqThreadController(ZmqThreadController&& other) noexcept;
    ZmqThreadController& operator=(ZmqThreadController&& other) noexcept;
    ~ZmqThreadController();

    // Creator: blocks for one report; true only for Created with Success.
    bool waitForThread();
    // Thread: reports success or failure; whether the report went.
    bool signalReady();
    bool signalError();

private:
    std::string makeUniqueSocketAddress() const;
    zelmsg::ControlMessage makeCreatedControlMessage(zelmsg::ControlMessage::ResultType const& result) const;
    bool sendToCreator(zelmsg::ControlMessage const& message);

    std::shared_ptr<zmq::socket_t> socket;
    std::string address;
};

} // namespace zel
