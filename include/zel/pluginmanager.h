#pragma once

#include <zel/plugin.h>
#include <zel/zel_export.h>

#include <QList>
#include <QString>
#include <QStringList>

#include <mutex>

namespace zel {

class ProcessorBase;
struct ProcessorInfo;

// Finds or loads the plug-in for a processor type and asks it for a processor. Shared by all
// groups: any thread may call it; a mutex guards the list, which loads extend. A type is bare
// ("Relay": the first plug-in listing it) or dotted ("demo.Relay": the plug-in named demo, loaded
// from demo.dll when not known yet: beside the application first, then in each folder of
// ZEL_PLUGIN_PATH, then in the installed plug-in folder).
class ZEL_EXPORT PluginManager
{
public:
    PluginManager();
    virtual ~PluginManager();

    PluginManager(PluginManager const&) = delete;
    PluginManager& operator=(PluginManager const&) = delete;

    // False for null and for a name that is known already. The caller keeps ownership.
    bool registerPlugin(Plugin* plugin);
    // The plug-in for a type, or null. A dotted type's file is loaded on first use, under the lock,
    // so concurrent callers wait for the load; a file that does not load is traced.
    Plugin* getPlugin(QString const& processorType) const;
    // A copy of the list as it stands, the built-in plug-in first.
    QList<Plugin*> const getPlugins() const;
    // A new processor the caller owns, or null when no plug-in makes the type. A processor
    // constructor's exception passes through.
    ProcessorBase* createProcessor(ProcessorInfo const& info) const;
    // The folders a dotted type's file is looked for in, in that order, so that tools show what a
    // host would load.
    static QStringList searchFolders();

private:
    // Both with the lock held.
    Plugin* findPlugin(QString name) const;
    Plugin* loadPlugin(QString const& name) const;

    mutable std::mutex mutex;
    mutable QList<Plugin*> plugins; // the first, the BasePlugin, is owned; loaded ones belong to Qt's loader
};

} // namespace zel
