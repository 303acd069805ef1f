#pragma once

#include <zel/plugin.h>

// The plug-in's own name; a build of it under another file name sets a different one.
#ifndef STORE_PLUGIN_NAME
#define STORE_PLUGIN_NAME "storeplugin"
#endif

namespace testplugins {

// A plug-in file for the tests, found by the type "Store".
class StorePlugin : public zel::Plugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZEL_PLUGIN_IID)
    Q_INTERFACES(zel::Plugin)

public:
    QString getName() const override;
    QStringList getProcessorTypes() const override;
    zel::ProcessorBase* createProcessor(zel::ProcessorInfo const& info) override;
};

} // namespace testplugins
