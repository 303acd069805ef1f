#pragma once

#include <zel/plugin.h>

namespace zel {

// The plug-in built into the module, "base": it makes the two bridges.
class ZEL_EXPORT BasePlugin : public Plugin
{
    Q_OBJECT

public:
    BasePlugin();

    QString getName() const override;
    QStringList getProcessorTypes() const override;
    // Bare or "base."-prefixed bridge types, compared case-sensitively; null for any other.
    ProcessorBase* createProcessor(ProcessorInfo const& info) override;

private:
    QString name;
    QStringList processorTypes;
};

} // namespace zel
