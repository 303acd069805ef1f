#pragma once

// The platform's stop request: SIGINT, SIGTERM or SIGHUP, or the console's close events on Windows.

#include <chrono>

// Call before any thread starts, so that only the waiting thread takes the signals.
void prepareStopSignals();
// Blocks until a stop is requested (true) or `interval` has passed without one (false).
bool waitForStopSignal(std::chrono::milliseconds interval);
