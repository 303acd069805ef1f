#include "plugins.h"

#include "reply.h"

#include <zel/baseplugin.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QPluginLoader>

namespace {

// A plug-in's name and its types as a user writes them in create.
void list(zel::Plugin const& plugin, QString const& where, QString const& typePrefix)
{
    out(plugin.getName() + QStringLiteral("  ") + where);
    for (QString const& type : plugin.getProcessorTypes())
        out(QStringLiteral("  ") + typePrefix + type);
}

} // namespace

int plugins(Invocation& call)
{
    // zelhost loads "NAME.dll" from its own folder, and zelctl is installed beside it.
    QString const folder = call.args.value(0, QCoreApplication::applicationDirPath());
    QDir const dir(folder);
    if (!dir.exists()) {
        err(QStringLiteral("no folder %1").arg(folder));
        return ExitUsage;
    }
    zel::BasePlugin const base;
    list(base, QStringLiteral("(built in)"), QString());
    int result = ExitSuccess;
    for (QFileInfo const& file : dir.entryInfoList({ QStringLiteral("*.dll") }, QDir::Files, QDir::Name)) {
        QPluginLoader loader(file.absoluteFilePath());
        auto const* plugin = qobject_cast<zel::Plugin*>(loader.instance());
        if (!plugin) {
            err(QStringLiteral("%1 is no ZEL plug-in: %2").arg(file.fileName(), loader.errorString()));
            result = ExitFailure;
            continue;
        }
        list(*plugin, file.absoluteFilePath(), plugin->getName() + QLatin1Char('.'));
        // zelhost finds a plug-in by the file named after it; any other file is never loaded.
        if (plugin->getName() != file.completeBaseName())
            err(QStringLiteral("%1 holds the plug-in %2: zelhost looks for it in %2.dll")
                    .arg(file.fileName(), plugin->getName()));
    }
    return result;
}
