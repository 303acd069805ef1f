#pragma once

#include "invocation.h"

// zelctl play FILE [--group G] [--speed X] [--loop] [--streams S,...] [--bind ADDR] [--wait N]:
// checks the whole recording, then publishes each of its streams on a socket of its own,
// registered at the group's name service under its recorded name, with the recorded timing; the
// streams are deregistered at the end or on Ctrl-C.
int play(Invocation& call);
