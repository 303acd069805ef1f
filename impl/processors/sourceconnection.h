#pragma once

#include <zel/zelmsg/processor.h>

#include <QString>
#include <QVector>
#include <zmq.hpp>

namespace zel {

// What a Connect changed in the subscriptions of a stream input.
struct FilterChange
{
    bool subscribeAll = false; // the source now has no filter: everything comes in
    QVector<QString> added; // filters new to the source, in its order
};

// The first half of every stream input's Connect: a source address new to the configuration is
// added and the socket connected to it; then the filters are merged into that source. Subscribing
// is the caller's, since the bridges keep lists of what they subscribed.
FilterChange connectSource(
    zelmsg::Processor& configuration, zmq::socket_t& socket, QString const& address, QVector<QString> const& filters);

// A filter's bytes on the socket: its Latin-1 form, without a terminating zero.
void setSubscription(zmq::socket_t& socket, int option, QString const& filter);

} // namespace zel
