#pragma once

#include <QByteArray>

namespace zel {

// One message through the router: who sent it, whom it is for, and the body it does not read.
struct RouterMessage
{
    QByteArray source;
    QByteArray destination;
    QByteArray payload;
};

} // namespace zel
