#pragma once

#include "systemclient.h"

#include <QString>

#include <optional>
#include <string>

// Why the processor with routing identity `processor` ended by a failure, when the host ran it and
// kept the reason (zelhost's own service does); nothing otherwise. Blocks up to one time-out, which
// only a host without the service uses up.
std::optional<QString> hostKnownFailure(SystemClient& client, std::string const& processor);
