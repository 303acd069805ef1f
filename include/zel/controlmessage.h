#pragma once

#include <QByteArray>

namespace zel {

// The envelope of a control record: the peer it goes to or came from, and the record's XML in UTF-8.
// Not the record zelmsg::ControlMessage.
struct ControlMessage
{
    QByteArray address;
    QByteArray payload;
};

} // namespace zel
