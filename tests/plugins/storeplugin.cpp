#include "storeplugin.h"

namespace testplugins {

QString StorePlugin::getName() const { return QStringLiteral(STORE_PLUGIN_NAME); }

QStringList StorePlugin::getProcessorTypes() const { return { QStringLiteral("Store") }; }

// The tests look plug-ins up; none makes a processor of one.
zel::ProcessorBase* StorePlugin::createProcessor(zel::ProcessorInfo const&) { return nullptr; }

} // namespace testplugins
