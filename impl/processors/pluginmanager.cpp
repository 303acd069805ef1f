#include <zel/pluginmanager.h>

#include <zel/baseplugin.h>
#include <zel/processorbase.h>
#include <zel/processorinfo.h>

#include "processors/pluginfolders.h"
#include "runtime/trace.h"

#include <QDir>
#include <QFileInfo>
#include <QPluginLoader>

namespace zel {

namespace {

// Plug-in files carry this name on every platform; Qt loads an ELF library under it just as well.
QString pluginFileName(QString const& name) { return QStringLiteral("%1.dll").arg(name); }

// A plug-in name is a file's base name: with a separator, a drive or a step up it would reach a
// file outside the plug-in folders, and loading a file runs its code.
bool holdsPath(QString const& name)
{
    return name.contains(QLatin1Char('/')) || name.contains(QLatin1Char('\\')) || name.contains(QLatin1Char(':'))
        || name.contains(QLatin1String(".."));
}

} // namespace

PluginManager::PluginManager() { plugins.append(new BasePlugin); }

PluginManager::~PluginManager()
{
    delete plugins.first();
    plugins.clear();
}

bool PluginManager::registerPlugin(Plugin* plugin)
{
    if (!plugin)
        return false;
    std::lock_guard<std::mutex> lock(mutex);
    if (findPlugin(plugin->getName()))
        return false;
    plugins.append(plugin);
    return true;
}

Plugin* PluginManager::getPlugin(QString const& processorType) const
{
    std::lock_guard<std::mutex> lock(mutex);
    int const dot = processorType.indexOf(QLatin1Char('.'));
    if (dot < 0) {
        for (Plugin* plugin : plugins) {
            if (plugin->getProcessorTypes().contains(processorType))
                return plugin;
        }
        return nullptr;
    }
    QString const name = processorType.left(dot);
    Plugin* plugin = findPlugin(name);
    return plugin ? plugin : loadPlugin(name);
}

QList<Plugin*> const PluginManager::getPlugins() const
{
    std::lock_guard<std::mutex> lock(mutex);
    return plugins;
}

ProcessorBase* PluginManager::createProcessor(ProcessorInfo const& info) const
{
    Plugin* plugin = getPlugin(QString::fromStdString(info.processorType));
    return plugin ? plugin->createProcessor(info) : nullptr;
}

Plugin* PluginManager::findPlugin(QString name) const
{
    for (Plugin* plugin : plugins) {
        if (plugin->getName() == name)
            return plugin;
    }
    return nullptr;
}

Plugin* PluginManager::loadPlugin(QString const& name) const
{
    // The first folder that holds the file wins, as on a PATH: a file that fails to load there is
    // reported, not passed over for another copy further down.
    if (holdsPath(name)) {
        ZEL_TRACE_FAILURE(QStringLiteral("Could not load plugin: '%1' is a path, not a plug-in name").arg(name));
        return nullptr;
    }
    QStringList const folders = pluginFolders();
    QString path;
    for (QString const& folder : folders) {
        QString const candidate = QDir(folder).absoluteFilePath(pluginFileName(name));
        if (QFileInfo::exists(candidate)) {
            path = candidate;
            break;
        }
    }
    if (path.isEmpty()) {
        ZEL_TRACE_FAILURE(QStringLiteral("Could not load plugin: %1 is in none of %2")
                              .arg(pluginFileName(name), folders.join(QStringLiteral(", "))));
        return nullptr;
    }
    // The loader may go: the library stays loaded, with the plug-in, until an unload nobody calls.
    QPluginLoader loader(path);
    QObject* instance = loader.instance();
    auto* plugin = instance ? reinterpret_cast<Plugin*>(instance->qt_metacast(ZEL_PLUGIN_IID)) : nullptr;
    if (!plugin) {
        ZEL_TRACE_FAILURE(QStringLiteral("Could not load plugin: %1").arg(loader.errorString()));
        return nullptr;
    }
    plugins.append(plugin);
    return plugin;
}

} // namespace zel
