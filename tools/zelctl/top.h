#pragma once

#include "invocation.h"

// zelctl top [GROUP] [--once] [--format text|json]: every processor with its type, state and rates,
// refreshed every second until q or Ctrl-C.
int top(Invocation& call);
