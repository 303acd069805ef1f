#pragma once

#include <QString>
#include <QStringList>

// What zelctl can tell of a processor type the group could not create, from the plug-ins zelhost
// would find: the closest known type or all of them, a plug-in file that is missing, a bare type
// whose plug-in is not loaded yet.
QStringList typeHints(QString const& type);
