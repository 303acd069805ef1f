#pragma once

#include "systemclient.h"

#include <string>

// Finds out why a request to `identity` went unanswered, by asking the group manager for its groups
// and the group for its processors, and prints what is missing. Gives the exit code: 1 when the
// target does not exist, 3 when zelhost or the target itself is silent. Blocks up to two time-outs.
int diagnoseSilence(SystemClient& client, std::string const& identity);
