#include "processors/pluginfolders.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

// The one place that asks the platform where this library's file lies.
#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace zel {

namespace {

QString libraryFolder()
{
    static char const anchor = 0;
#ifdef _WIN32
    HMODULE module = nullptr;
    wchar_t path[MAX_PATH];
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            reinterpret_cast<LPCWSTR>(&anchor), &module)
        || GetModuleFileNameW(module, path, MAX_PATH) == 0)
        return {};
    return QFileInfo(QString::fromWCharArray(path)).absolutePath();
#else
    Dl_info info;
    if (dladdr(&anchor, &info) == 0 || !info.dli_fname)
        return {};
    return QFileInfo(QFile::decodeName(info.dli_fname)).absolutePath();
#endif
}

// Relative to the library, so that a prefix that was moved still finds its plug-ins.
QString installedPluginFolder()
{
    QString const library = libraryFolder();
    return library.isEmpty() ? QString() : QDir(library).absoluteFilePath(QStringLiteral(ZEL_PLUGIN_DIR_FROM_LIBRARY));
}

} // namespace

QStringList pluginFolders()
{
    QStringList folders { QCoreApplication::applicationDirPath() };
    folders += qEnvironmentVariable("ZEL_PLUGIN_PATH").split(QDir::listSeparator(), Qt::SkipEmptyParts);
    QString const installed = installedPluginFolder();
    if (!installed.isEmpty())
        folders << installed;
    QStringList result;
    for (QString const& folder : folders)
        result << QDir::cleanPath(QDir(folder).absolutePath());
    result.removeDuplicates();
    return result;
}

} // namespace zel
