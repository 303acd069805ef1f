#pragma once

#include <zel/zel_export.h>

#include <QString>

namespace zel {

// What a host gets from HXCreate and drives: Execute, later Shutdown, then HXDestroy. The host
// calls it on one thread at a time; the base does nothing and its Execute gives true.
class ZEL_EXPORT IDllInstance
{
public:
    explicit IDllInstance(QString const& name);
    virtual ~IDllInstance();
    virtual bool Execute();
    virtual void Shutdown();
    // The first step of a Shutdown, for derived classes that must act before the stop.
    virtual void prepareShutdown();

    QString const& getInstanceName() const { return instanceName; }

private:
    QString instanceName;
};

} // namespace zel
