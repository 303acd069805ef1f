#pragma once

#include "invocation.h"

#include <QString>
#include <QStringList>
#include <QVector>

// zelctl plugins [DIR]: the plug-ins zelhost would find, loaded here, with their processor types.
int plugins(Invocation& call);

// A plug-in as zelhost would find it: `path` is empty for the built-in one.
struct PluginEntry
{
    QString name;
    QString path;
    QStringList types; // bare
};

// The built-in plug-in, then the plug-in files of `folders` in that order. A file that is no plug-in
// adds a line to `problems`.
QVector<PluginEntry> findPlugins(QStringList const& folders, QStringList& problems);
// The file of `entries` that zelhost loads the plug-in `name` from; empty when there is none.
QString loadedFile(QVector<PluginEntry> const& entries, QString const& name);
