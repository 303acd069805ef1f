#pragma once

#include <QStringList>

namespace zel {

// The folders a plug-in file is looked for in, in order: the application's folder, each folder of
// ZEL_PLUGIN_PATH, then the installed plug-in folder beside this library. Absolute, without
// repeats; ZEL_PLUGIN_PATH is read at each call. Any thread; does not block.
QStringList pluginFolders();

} // namespace zel
