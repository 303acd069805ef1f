#include "interruption.h"

#include <csignal>

namespace {

volatile std::sig_atomic_t caught = 0;

extern "C" void onInterrupt(int) { caught = 1; }

} // namespace

void catchInterruption()
{
    caught = 0;
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
}

bool interrupted() { return caught != 0; }
