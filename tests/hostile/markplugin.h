#pragma once

#include <zel/plugin.h>

namespace zeltest {

// A plug-in file that shows it was loaded: its static initialiser creates the file named in
// ZEL_TEST_MARK_FILE. Offers "Thrower".
class MarkPlugin : public zel::Plugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZEL_PLUGIN_IID)
    Q_INTERFACES(zel::Plugin)

public:
    QString getName() const override;
    QStringList getProcessorTypes() const override;
    zel::ProcessorBase* createProcessor(zel::ProcessorInfo const& info) override;
};

} // namespace zeltest
