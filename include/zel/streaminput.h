#pragma once

#include <zel/bytestreammessage.h>
#include <zel/inputclient.h>
#include <zel/messagehandler.h>
#include <zel/processorstatistics.h>
#include <zel/socketreader.h>
#include <zel/zel_export.h>
#include <zel/zelmsg/processor.h>
#include <zel/zmqbytestreamsockettemplate.h>

#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>

namespace zel {

// The input of a bridge: a SUB socket connected by Connect, with the filters that Start and Stop
// act on. Filters subscribed through subscribe are listed; the catch-all subscription of an empty
// filter list, and what the owner subscribes directly, are not, and stay until the socket closes.
// Used on the owning processor's thread only.
class ZEL_EXPORT StreamInput
{
public:
    // On the owner's thread, from its initialize: the socket must live and die there. A high-water
    // mark (-1: libzmq's default) bounds what waits while the owner is busy; beyond it input is dropped.
    void create(MessageHandler<ZmqByteStreamInSocket, ByteStreamMessage>* handler, SocketReader& reader,
        int receiveHighWaterMark = -1);
    void release();
    // From create to release: its counters join the owner's statistics, and each message it serves
    // counts as one batch of work.
    void reportTo(ProcessorStatistics& statistics);

    // A source new to the configuration is connected; the filters are merged into it, and the new
    // ones subscribed (an empty list subscribes everything).
    void connect(zelmsg::Processor& configuration, QString const& address, QVector<QString> const& filters);
    // An empty name acts on every filter ever subscribed.
    void start(QString const& name);
    void stop(QString const& name);
    // Unlisted, so that Start and Stop, even of every filter, never take it away.
    void subscribeDirectly(QByteArray const& prefix);

    // One message per wake at most, so that the owner's control sockets are served in between.
    void serve(SocketReader& reader);
    bool hasEvents(SocketReader& reader) const { return reader.getEvents(index) != 0; }

private:
    void subscribe(QString const& name);
    void unsubscribe(QString const& name);

    std::unique_ptr<zmq::socket_t> socket;
    std::unique_ptr<InputClient> client;
    ZmqByteStreamInSocket* wrapper = nullptr; // owned by client
    ProcessorStatistics* statistics = nullptr;
    int index = -1;
    QStringList knownFilters;
    QStringList subscribedFilters;
};

} // namespace zel
