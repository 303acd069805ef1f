#include "demoplugin.h"

#include "counter.h"
#include "generator.h"
#include "relay.h"

#include <zel/processorinfo.h>

namespace demo {

namespace {

// The type without the plug-in's name before it.
QString shortType(std::string const& processorType)
{
    QString const type = QString::fromStdString(processorType);
    return type.mid(type.indexOf(QLatin1Char('.')) + 1);
}

template <class P> zel::ProcessorBase* make(zel::ProcessorInfo const& info)
{
    return new P(info.configuration, info.processorName, info.groupName, info.addressPrefix);
}

} // namespace

QString DemoPlugin::getName() const { return QStringLiteral("demo"); }

QStringList DemoPlugin::getProcessorTypes() const
{
    return { QStringLiteral("Generator"), QStringLiteral("Relay"), QStringLiteral("Counter") };
}

zel::ProcessorBase* DemoPlugin::createProcessor(zel::ProcessorInfo const& info)
{
    QString const type = shortType(info.processorType);
    if (type == QLatin1String("Generator"))
        return make<Generator>(info);
    if (type == QLatin1String("Relay"))
        return make<Relay>(info);
    if (type == QLatin1String("Counter"))
        return make<Counter>(info);
    return nullptr;
}

} // namespace demo
