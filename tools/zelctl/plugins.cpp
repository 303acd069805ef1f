#include "plugins.h"

#include "reply.h"

#include <zel/baseplugin.h>
#include <zel/pluginmanager.h>

#include <QDir>
#include <QFileInfo>
#include <QPluginLoader>

namespace {

// A plug-in's name and its types as a user writes them in create.
void list(PluginEntry const& plugin)
{
    out(plugin.name + QStringLiteral("  ") + (plugin.path.isEmpty() ? QStringLiteral("(built in)") : plugin.path));
    QString const typePrefix = plugin.path.isEmpty() ? QString() : plugin.name + QLatin1Char('.');
    for (QString const& type : plugin.types)
        out(QStringLiteral("  ") + typePrefix + type);
}

// The file zelhost loads the plug-in `name` from: the first one named after it.
QString pathOf(QVector<PluginEntry> const& entries, QString const& name)
{
    for (PluginEntry const& entry : entries) {
        if (!entry.path.isEmpty() && entry.name == name && QFileInfo(entry.path).completeBaseName() == name)
            return entry.path;
    }
    return {};
}

} // namespace

QString loadedFile(QVector<PluginEntry> const& entries, QString const& name) { return pathOf(entries, name); }

QVector<PluginEntry> findPlugins(QStringList const& folders, QStringList& problems)
{
    zel::BasePlugin const base;
    QVector<PluginEntry> entries { { base.getName(), QString(), base.getProcessorTypes() } };
    for (QString const& folder : folders) {
        for (QFileInfo const& file : QDir(folder).entryInfoList({ QStringLiteral("*.dll") }, QDir::Files, QDir::Name)) {
            QPluginLoader loader(file.absoluteFilePath());
            auto const* plugin = qobject_cast<zel::Plugin*>(loader.instance());
            if (!plugin) {
                problems << QStringLiteral("%1 is no ZEL plug-in: %2").arg(file.fileName(), loader.errorString());
                continue;
            }
            entries.push_back({ plugin->getName(), file.absoluteFilePath(), plugin->getProcessorTypes() });
        }
    }
    return entries;
}

int plugins(Invocation& call)
{
    // Without a folder: every folder zelhost searches, in its order (zelctl is installed beside it).
    QStringList const folders
        = call.args.isEmpty() ? zel::PluginManager::searchFolders() : QStringList { call.args.first() };
    if (!call.args.isEmpty() && !QDir(folders.first()).exists()) {
        err(QStringLiteral("no folder %1").arg(folders.first()));
        return ExitUsage;
    }
    QStringList problems;
    QVector<PluginEntry> const entries = findPlugins(folders, problems);
    for (QString const& problem : problems)
        err(problem);
    // Files zelhost passes over are worth a note, not a failure.
    for (PluginEntry const& entry : entries) {
        list(entry);
        if (entry.path.isEmpty())
            continue;
        // zelhost finds a plug-in by the file named after it, in the first folder that has one.
        QFileInfo const file(entry.path);
        if (entry.name != file.completeBaseName())
            err(QStringLiteral("%1 holds the plug-in %2: zelhost looks for it in %2.dll")
                    .arg(file.fileName(), entry.name));
        else if (pathOf(entries, entry.name) != entry.path)
            err(QStringLiteral("%1 is never loaded: %2 comes first").arg(entry.path, pathOf(entries, entry.name)));
    }
    return problems.isEmpty() ? ExitSuccess : ExitFailure;
}
