#include "interruption.h"

#include <csignal>

namespace {

volatile std::sig_atomic_t interrupted = 0;

extern "C" void onStopSignal(int) { interrupted = 1; }

} // namespace

void Interruption::catchSignals()
{
    std::signal(SIGINT, onStopSignal);
    std::signal(SIGTERM, onStopSignal);
}

bool Interruption::requested() { return interrupted != 0; }
