#include <zel/socketreader.h>

#include <zel/endpoints.h>

namespace zel {

SocketReader::SocketReader()
    : timeout(socketInfiniteTimeout)
{ }

SocketReader::~SocketReader() = default;

int SocketReader::addSocket(zmq::socket_t& socket, int events)
{
    items.push_back(zmq_pollitem_t { socket.handle(), 0, static_cast<short>(events & 0xFFFF), 0 });
    return size() - 1;
}

int SocketReader::addSocket(std::uint64_t fd, int events)
{
    items.push_back(zmq_pollitem_t { nullptr, static_cast<zmq_fd_t>(fd), static_cast<short>(events & 0xFFFF), 0 });
    return size() - 1;
}

void SocketReader::removeSocket(int index)
{
    if (index >= 0 && index < size())
        items.erase(items.begin() + index);
}

void SocketReader::clear() { items.clear(); }

int SocketReader::size() const { return static_cast<int>(items.size()); }

void SocketReader::setTimeout(long ms) { timeout = static_cast<std::int32_t>(ms); }

long SocketReader::getTimeout() { return timeout; }

int SocketReader::poll(long ms)
{
    int const count = zmq_poll(items.data(), static_cast<int>(items.size()), ms);
    if (count < 0)
        throw zmq::error_t();
    return count;
}

bool SocketReader::waitForSockets() { return poll(timeout) > 0; }

bool SocketReader::waitForSockets(long ms) { return poll(ms) > 0; }

int SocketReader::waitForSocketsOrTimeout() { return poll(timeout); }

int SocketReader::getEvents(int index)
{
    if (index < 0 || index >= size())
        return 0;
    return items[static_cast<size_t>(index)].revents;
}

} // namespace zel
