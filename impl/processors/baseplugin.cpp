#include <zel/baseplugin.h>

#include <zel/httpbridge.h>
#include <zel/processorinfo.h>
#include <zel/qtbridge.h>

namespace zel {

BasePlugin::BasePlugin()
    : name(QStringLiteral("base"))
    , processorTypes { QtBridge::getProcessorType(), HttpBridge::getProcessorType() }
{ }

QString BasePlugin::getName() const { return name; }

QStringList BasePlugin::getProcessorTypes() const { return processorTypes; }

ProcessorBase* BasePlugin::createProcessor(ProcessorInfo const& info)
{
    QString const type = bareType(info.processorType);
    if (type == QtBridge::getProcessorType())
        return new QtBridge(info.configuration, info.processorName, info.groupName, info.addressPrefix);
    if (type == HttpBridge::getProcessorType())
        return new HttpBridge(info.configuration, info.processorName, info.groupName, info.addressPrefix);
    return nullptr;
}

} // namespace zel
