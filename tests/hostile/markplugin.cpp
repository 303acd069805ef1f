#include "markplugin.h"

#include "throwingprocessor.h"

#include <zel/processorinfo.h>

#include <QFile>

namespace zeltest {

namespace {

// Runs when the library is loaded, before anybody asks it for a processor.
struct LoadMark
{
    LoadMark()
    {
        QFile mark(qEnvironmentVariable("ZEL_TEST_MARK_FILE"));
        if (!mark.fileName().isEmpty() && mark.open(QIODevice::WriteOnly))
            mark.write("loaded\n");
    }
} const loadMark;

} // namespace

QString MarkPlugin::getName() const { return QStringLiteral("markplugin"); }

QStringList MarkPlugin::getProcessorTypes() const { return { QStringLiteral("Thrower") }; }

zel::ProcessorBase* MarkPlugin::createProcessor(zel::ProcessorInfo const& info)
{
    // Bare or behind "markplugin.": the text after the first dot, or all of it.
    std::string const& type = info.processorType;
    if (type.substr(type.find('.') + 1) != "Thrower")
        return nullptr;
    return new ThrowingProcessor(info.processorName, info.groupName, info.addressPrefix);
}

} // namespace zeltest
