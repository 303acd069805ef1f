#include "lengthslot.h"

#include <QDataStream>

namespace zelmsg {
namespace detail {

LengthSlot::LengthSlot(QDataStream& stream)
    : m_stream(stream)
{
    m_stream << qint32(0);
    m_start = m_stream.device()->pos();
}

void LengthSlot::close()
{
    QIODevice* device = m_stream.device();
    qint64 const end = device->pos();
    device->seek(m_start - 4);
    m_stream << static_cast<qint32>(end - m_start);
    device->seek(end);
}

} // namespace detail
} // namespace zelmsg
