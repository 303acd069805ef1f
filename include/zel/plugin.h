#pragma once

#include <zel/zel_export.h>

#include <QObject>
#include <QString>
#include <QStringList>

#include <string>

// The interface id a plug-in file must declare; a file without it is refused when loaded.
#define ZEL_PLUGIN_IID "Tarvo.ZELPlugins"

namespace zel {
class Plugin;
}
Q_DECLARE_INTERFACE(zel::Plugin, ZEL_PLUGIN_IID)

namespace zel {

class ProcessorBase;
struct ProcessorInfo;

// A factory of processors, and the interface of a plug-in file. createProcessor runs on the thread
// of the group that makes the processor, possibly on several groups' threads at once.
class ZEL_EXPORT Plugin : public QObject
{
    Q_OBJECT
    Q_INTERFACES(zel::Plugin)

public:
    // The plug-in's name: the text before the dot in a processor type.
    virtual QString getName() const = 0;
    // The processor types it offers, by their short names.
    virtual QStringList getProcessorTypes() const = 0;
    // A new processor the caller owns, or null for a type it does not make.
    virtual ProcessorBase* createProcessor(ProcessorInfo const& info);

    // A processor type reaches createProcessor bare ("Relay") or behind the name it was asked for
    // by ("demo.Relay", the name of the plug-in's file); this gives it bare either way.
    static QString bareType(std::string const& processorType);
};

} // namespace zel
