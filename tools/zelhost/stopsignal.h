#pragma once

// The platform's stop request: SIGINT or SIGTERM, or the console's close events on Windows.

// Call before any thread starts, so that only the waiting thread takes the signals.
void prepareStopSignals();
// Blocks until a stop is requested.
void waitForStopSignal();
