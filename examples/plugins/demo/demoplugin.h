#pragma once

#include <zel/plugin.h>

namespace demo {

// The plug-in "demo": three stream processors to try ZEL with.
class DemoPlugin : public zel::Plugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZEL_PLUGIN_IID)
    Q_INTERFACES(zel::Plugin)

public:
    QString getName() const override;
    QStringList getProcessorTypes() const override;
    zel::ProcessorBase* createProcessor(zel::ProcessorInfo const& info) override;
};

} // namespace demo
