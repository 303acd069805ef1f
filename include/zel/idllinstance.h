#pragma once

#include <zel/zel_export.h>

#include <QString>

namespace zel {

// What a host gets from HXCreate and drives: Execute, later Shutdown, then HXDestroy.
class ZEL_EXPORT IDllInstance
{
public:
    explicit IDllInstance(QString const& name);
    virtual ~IDllInstance();
    virtual bool Execute();
    virtual void Shutdown();
    virtual void prepareShutdown();

    QString const& getInstanceName() const { return instanceName; }

private:
    QString instanceName;
};

} // namespace zel
