#include <zel/plugin.h>

namespace zel {

ProcessorBase* Plugin::createProcessor(ProcessorInfo const&) { return nullptr; }

QString Plugin::bareType(std::string const& processorType)
{
    QString const type = QString::fromStdString(processorType);
    return type.mid(type.indexOf(QLatin1Char('.')) + 1);
}

} // namespace zel
