#include "stopsignal.h"

#ifdef _WIN32
#include <windows.h>

#include <atomic>

namespace {
HANDLE stopEvent = nullptr;

BOOL WINAPI onConsoleEvent(DWORD)
{
    SetEvent(stopEvent);
    return TRUE;
}
} // namespace

void prepareStopSignals()
{
    stopEvent = CreateEvent(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(onConsoleEvent, TRUE);
}

bool waitForStopSignal(std::chrono::milliseconds interval)
{
    return WaitForSingleObject(stopEvent, static_cast<DWORD>(interval.count())) == WAIT_OBJECT_0;
}

#else
#include <csignal>
#include <ctime>
#include <pthread.h>

namespace {
sigset_t stopSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    // A hang-up (the terminal closed, or a reload request) stops cleanly too: zelhost has nothing
    // to reload, and the default action would end it without stopping the environment.
    sigaddset(&set, SIGHUP);
    return set;
}
} // namespace

void prepareStopSignals()
{
    sigset_t const set = stopSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

bool waitForStopSignal(std::chrono::milliseconds interval)
{
    sigset_t const set = stopSignals();
    auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(interval);
    timespec const timeout { static_cast<time_t>(seconds.count()),
        static_cast<long>(std::chrono::nanoseconds(interval - seconds).count()) };
    // -1 is the time-out, or another signal that woke us (EINTR): either way, look again later.
    return sigtimedwait(&set, nullptr, &timeout) > 0;
}
#endif
