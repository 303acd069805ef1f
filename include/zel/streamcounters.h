#pragma once

#include <zel/bytestreammessage.h>

#include <cstdint>

namespace zel {

// What went through one end of a stream: messages, and bytes of the type and data frames together.
// Plain fields, counted and read on the thread that owns the socket. ZEL_NO_COUNTERS compiles the
// counting out; it exists only so that the benchmark can measure what counting costs.
struct StreamCounters
{
    std::uint64_t messages = 0;
    std::uint64_t bytes = 0;

    void count([[maybe_unused]] ByteStreamMessage const& message)
    {
#ifndef ZEL_NO_COUNTERS
        ++messages;
        bytes += static_cast<std::uint64_t>(message.type.size()) + static_cast<std::uint64_t>(message.data.size());
#endif
    }
};

} // namespace zel
