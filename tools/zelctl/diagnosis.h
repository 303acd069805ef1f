#pragma once

#include "systemclient.h"

#include <string>

// Finds out why a request to `identity` went unanswered, by asking the group manager for its groups,
// the group for its processors and, for a listed processor, zelhost for the failure it ended by;
// prints what is missing. Gives the exit code: 1 when the target does not exist, 3 when zelhost or
// the target itself is silent. Blocks up to three time-outs (the last only for a host that is no
// zelhost).
int diagnoseSilence(SystemClient& client, std::string const& identity);
