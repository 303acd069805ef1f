#pragma once

#include <zel/zel_export.h>

#include <zmq.hpp>

#include <cstdint>
#include <vector>

namespace zel {

// The poll set of one thread, used on that thread only. An item's index is the caller's handle for
// its socket; items are only ever added by the owners in the system, since removing one shifts the
// indices behind it. The sockets stay their owners'; each must outlive its item.
class ZEL_EXPORT SocketReader
{
public:
    SocketReader();
    virtual ~SocketReader();

    // The new item's index; `events` as zmq_poll takes them (ZMQ_POLLIN, ...).
    int addSocket(zmq::socket_t& socket, int events);
    int addSocket(std::uint64_t fd, int events);
    void removeSocket(int index);
    void clear();
    int size() const;

    // Milliseconds; socketInfiniteTimeout (the default) waits without limit.
    void setTimeout(long ms);
    long getTimeout();

    // The waits block the calling thread; a failing zmq_poll (ETERM, EINTR) leaves as zmq::error_t.
    // One zmq_poll over all items with the stored time-out; true when an item has events.
    bool waitForSockets();
    // The same with this time-out; the stored one stays.
    bool waitForSockets(long ms);
    // One zmq_poll with the stored time-out; the number of items with events, 0 on time-out.
    int waitForSocketsOrTimeout();
    // Events of the last wait; 0 for an index out of range.
    int getEvents(int index);

    static bool isReadable(int events) { return (events & ZMQ_POLLIN) != 0; }
    static bool isWriteable(int events) { return (events & ZMQ_POLLOUT) != 0; }
    static bool hasError(int events) { return (events & ZMQ_POLLERR) != 0; }

private:
    int poll(long ms);

    std::int32_t timeout;
    std::vector<zmq_pollitem_t> items;
};

} // namespace zel
