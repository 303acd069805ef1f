#include "typehint.h"

#include "plugins.h"

#include <zel/pluginmanager.h>

#include <algorithm>
#include <vector>

namespace {

int editDistance(QString const& a, QString const& b)
{
    std::vector<int> row(b.size() + 1);
    for (int j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (int i = 1; i <= a.size(); ++i) {
        int diagonal = row[0];
        row[0] = i;
        for (int j = 1; j <= b.size(); ++j) {
            int const above = row[j];
            row[j] = std::min({ row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1) });
            diagonal = above;
        }
    }
    return row[b.size()];
}

// Every type as create takes it: the built-in ones bare, the others behind their plug-in's name.
QStringList qualifiedTypes(QVector<PluginEntry> const& entries)
{
    QStringList types;
    for (PluginEntry const& entry : entries) {
        for (QString const& type : entry.types)
            types << (entry.path.isEmpty() ? type : entry.name + QLatin1Char('.') + type);
    }
    types.removeDuplicates();
    return types;
}

// A type a few letters away from `type`, such as a typing slip; empty when none is that near.
QString closest(QString const& type, QStringList const& known)
{
    QString best;
    int bestDistance = std::max(2, int(type.size()) / 4) + 1;
    for (QString const& candidate : known) {
        int const distance = editDistance(type.toLower(), candidate.toLower());
        if (distance < bestDistance) {
            bestDistance = distance;
            best = candidate;
        }
    }
    return best;
}

} // namespace

QStringList typeHints(QString const& type)
{
    QStringList const folders = zel::PluginManager::searchFolders();
    QStringList problems;
    QVector<PluginEntry> const entries = findPlugins(folders, problems);
    QStringList hints;
    if (type.contains(QLatin1Char('.'))) {
        QString const plugin = type.section(QLatin1Char('.'), 0, 0);
        if (loadedFile(entries, plugin).isEmpty())
            hints << QStringLiteral("no plug-in file %1.dll in %2").arg(plugin, folders.join(QStringLiteral(", ")));
    } else {
        // A bare type finds only the plug-ins that are loaded already.
        for (PluginEntry const& entry : entries) {
            if (!entry.path.isEmpty() && entry.types.contains(type))
                return {
                    QStringLiteral("%1 is offered by %2, which is not loaded yet: write %2.%1").arg(type, entry.name)
                };
        }
    }
    QStringList const known = qualifiedTypes(entries);
    QString const near = closest(type, known);
    if (!near.isEmpty() && near != type)
        hints << QStringLiteral("did you mean %1?").arg(near);
    else
        hints << QStringLiteral("known types: %1").arg(known.join(QStringLiteral(", ")));
    return hints;
}
