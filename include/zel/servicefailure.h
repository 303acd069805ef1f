#pragma once

#include <string>

namespace zel {

// One of an Environment's two services that ended by a failure while the environment ran.
struct ServiceFailure
{
    std::string service; // "router" or "group manager"
    std::string reason; // why it ended, one reason a line, as the thread collected them
};

} // namespace zel
