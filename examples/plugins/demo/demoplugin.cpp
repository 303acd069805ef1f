#include "demoplugin.h"

#include "counter.h"
#include "generator.h"
#include "relay.h"

#include <zel/processorinfo.h>

namespace demo {

namespace {

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
    QString const type = bareType(info.processorType);
    if (type == QLatin1String("Generator"))
        return make<Generator>(info);
    if (type == QLatin1String("Relay"))
        return make<Relay>(info);
    if (type == QLatin1String("Counter"))
        return make<Counter>(info);
    return nullptr;
}

} // namespace demo
