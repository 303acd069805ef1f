#pragma once

#include "invocation.h"

// zelctl serve [--listen HOST:PORT]: one web page with the running graph and the table of top,
// refreshed every second, and the JSON behind it. Loopback only unless told otherwise.
int serve(Invocation& call);
