#pragma once

#include <QtGlobal>

class QDataStream;

namespace zelmsg {
namespace detail {

// A 32-bit length written ahead of what it measures: first a place holder, then, on close(), the number of
// bytes written since. Needs a seekable device; the records write in one pass without a buffer of their own.
class LengthSlot
{
public:
    explicit LengthSlot(QDataStream& stream);
    void close();

private:
    QDataStream& m_stream;
    qint64 m_start;
};

} // namespace detail
} // namespace zelmsg
