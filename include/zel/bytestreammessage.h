#pragma once

#include <QByteArray>

namespace zel {

// One item of a data stream: the type frame that subscribers filter on, and the content.
struct ByteStreamMessage
{
    QByteArray type;
    QByteArray data;
};

} // namespace zel
