#pragma once

#include <QString>
#include <QVector>

// A processor bound to tcp://*:PORT or tcp://0.0.0.0:* registers tcp://0.0.0.0:PORT, which only
// its own machine can dial. Whoever resolved it knows the machine by its frontend address.
namespace StreamAddress {

// The address to connect to out of a stream's registered ones: the first, or for a processor on
// another host the first TCP one that is not loopback; a wildcard host becomes the host of
// `frontend`. Empty when none fits. For another host the address carries the server key that
// zelctl trusts for `frontend` (its own, or --server-key), so that a secured stream can be dialled.
QString dialable(QVector<QString> const& registered, QString const& frontend, bool otherHost);

} // namespace StreamAddress
