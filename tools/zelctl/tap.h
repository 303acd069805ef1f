#pragma once

#include "invocation.h"

// zelctl tap GROUP STREAM [--count N] [--format hex|text|raw] [--rate] [--filter F]: subscribes
// to a TCP stream and shows what passes, until N messages or SIGINT.
int tap(Invocation& call);
