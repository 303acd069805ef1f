#include "trace.h"

#include <QFileInfo>

namespace zel {

QString tracePath(char const* file)
{
    QString path = QString::fromUtf8(file);
    QString const root = QStringLiteral(ZEL_SOURCE_DIR);
    if (path.startsWith(root))
        path.remove(0, root.size());
    QFileInfo const info(path);
    return info.path() == QLatin1String(".") ? info.completeBaseName()
                                             : info.path() + QLatin1Char('/') + info.completeBaseName();
}

} // namespace zel
