#include <zel/qtrepository.h>

namespace zel {

QMap<QString, QPointer<QObject>> QtRepository::m_qobjectMap;
std::mutex QtRepository::m_mutex;

void QtRepository::setQObject(QString const& name, QPointer<QObject> object)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_qobjectMap.insert(name, object);
}

QPointer<QObject> QtRepository::getQObject(QString const& name)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_qobjectMap.value(name);
}

void QtRepository::removeQObject(QString const& name)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_qobjectMap.remove(name);
}

} // namespace zel
