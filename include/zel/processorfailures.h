#pragma once

#include <zel/zel_export.h>

#include <optional>
#include <string>

namespace zel {

// Why processors that were running ended by a failure, for a host that tells its users: a thread
// that fails while running answers nobody. Off until a host turns it on; then each such end leaves
// the processor's identity and reason, and a processor that starts under the identity clears it.
// Holds the latest `capacity` ends. Any thread may call it.
class ZEL_EXPORT ProcessorFailures
{
public:
    static constexpr int capacity = 1000;

    static void enable();
    static void record(std::string const& identity, std::string const& reason);
    static void forget(std::string const& identity);
    // The reason of the last failure under `identity`, if one is recorded.
    static std::optional<std::string> reasonFor(std::string const& identity);
};

} // namespace zel
