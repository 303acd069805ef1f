#pragma once

#include "invocation.h"

#include <zel/zelmsg/processor.h>

// Checks made before a request leaves, since the system answers some mistakes with silence: a
// processor given an address it cannot use ends without a reply, and a name too long for a ZeroMQ
// identity breaks its group. Each prints why it refuses and gives false; --force lets all through.

// The ADDRESS of `connect`, where the processor's input connects.
bool acceptSourceAddress(Invocation& call, QString const& address);
// GROUP PROCESSOR TYPE of `create` and the addresses of the configuration.
bool acceptProcessor(Invocation& call, zelmsg::Processor const& config);
// GROUP of `create-group`.
bool acceptGroupName(Invocation& call);
