#pragma once

#include <zel/zel_export.h>

#include <QMap>
#include <QObject>
#include <QPointer>
#include <QString>

#include <mutex>

namespace zel {

// The process-wide meeting point of Qt bridges and their hosts: name to QObject. Any thread; the
// mutex is held for the one map operation only. Entries turn null when their object goes.
class ZEL_EXPORT QtRepository
{
public:
    static void setQObject(QString const& name, QPointer<QObject> object);
    // The entry, or a null pointer.
    static QPointer<QObject> getQObject(QString const& name);
    static void removeQObject(QString const& name);

private:
    static QMap<QString, QPointer<QObject>> m_qobjectMap;
    static std::mutex m_mutex;
};

} // namespace zel
