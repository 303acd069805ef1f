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

void waitForStopSignal() { WaitForSingleObject(stopEvent, INFINITE); }

#else
#include <csignal>
#include <pthread.h>

namespace {
sigset_t stopSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}
} // namespace

void prepareStopSignals()
{
    sigset_t const set = stopSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void waitForStopSignal()
{
    sigset_t const set = stopSignals();
    int signal = 0;
    sigwait(&set, &signal);
}
#endif
