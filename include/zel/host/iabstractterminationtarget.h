#pragma once

#include <zel/host/zelhostframework_export.h>

// Something the host tells when the process ends. Targets enter a process-wide list as they are
// made and leave it as they go, from any thread: a mutex guards the list.
class ZELHOSTFRAMEWORK_EXPORT IAbstractTerminationTarget
{
public:
    IAbstractTerminationTarget();
    virtual ~IAbstractTerminationTarget();
    virtual void aboutToTerminate() = 0;

    // For the host, at the end of the process: calls aboutToTerminate of every target, newest
    // first. Any thread; not while targets are being made.
    static void terminateAll();

    IAbstractTerminationTarget(IAbstractTerminationTarget const&) = delete;
    IAbstractTerminationTarget& operator=(IAbstractTerminationTarget const&) = delete;
};
