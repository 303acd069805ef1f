#pragma once

#include "invocation.h"

// zelctl record -o FILE GROUP STREAM [GROUP STREAM ...] [--filter F] [--duration S] [--count N]
// [--compression zstd]: writes what the streams carry into an MCAP file until Ctrl-C, the duration
// or the count, and reports messages, bytes and gaps per stream.
int record(Invocation& call);
