#include <zel/pluginmanager.h>

#include <zel/baseplugin.h>
#include <zel/processorbase.h>
#include <zel/processorinfo.h>

#include "trace.h"

#include <QCoreApplication>
#include <QDir>
#include <QPluginLoader>

namespace zel {

namespace {

// Plug-in files carry this name on every platform; Qt loads an ELF library under it just as well.
QString pluginFilePath(QString const& name)
{
    return QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QStringLiteral("%1.dll").arg(name));
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
    QPluginLoader loader(pluginFilePath(name));
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
