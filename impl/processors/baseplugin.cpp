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
    QString type = QString::fromStdString(info.processorType);
    int const dot = type.indexOf(QLatin1Char('.'));
    if (dot >= 0)
        type = type.mid(dot + 1);
    if (type == QtBridge::getProcessorType())
        return new QtBridge(info.configuration, info.processorName, info.groupName, info.addressPrefix);
    if (type == HttpBridge::getProcessorType())
        return new HttpBridge(info.configuration, info.processorName, info.groupName, info.addressPrefix);
    return nullptr;
}

} // namespace zel
