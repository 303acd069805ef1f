#pragma once

#include <zel/bytestreammessage.h>
#include <zel/messagehandler.h>
#include <zel/processorbase.h>
#include <zel/streaminput.h>
#include <zel/zmqbytestreamsockettemplate.h>

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QUrl>

#include <memory>

namespace zel {

class HttpBridgeWorker;

// Posts every message it receives, by HTTP POST, to the URL its configuration gives for the
// message's type: each data stream names a type (Name) and lists the URL and, optionally, the
// Content-Type (default application/octet-stream, whose bodies go out as 32-bit words in network
// order). One POST at a time; the processor's thread alternates between the ZeroMQ poll and a Qt
// event loop. Messages flow after the first Connect; Start and Stop act on its filters.
class ZEL_EXPORT HttpBridge : public ProcessorBase, public MessageHandler<ZmqByteStreamInSocket, ByteStreamMessage>
{
public:
    HttpBridge(zelmsg::Processor const& configuration, std::string const& processorName, std::string const& groupName,
        std::string const& addressPrefix);
    ~HttpBridge() override;

    static QString getProcessorType();

    bool initialize() override;
    // Runs the worker's event loop until a stop arrives on the control socket.
    void process() override;
    void release() override;

protected:
    bool connect(QString const& streamName, QString const& streamAddress, QVector<QString> const& filters) override;
    bool start(QString const& streamName) override;
    bool stop(QString const& streamName) override;
    bool setParameter(QString const& name, QString const& value) override;
    bool getParameter(QString const& name, QString& value) override;
    bool getParameterList(QStringList& names) override;
    bool startNewRecording(QString& value) override;
    void handleMessage(ByteStreamMessage& message, ZmqByteStreamInSocket* socket) override;

private:
    friend class HttpBridgeWorker;

    struct StreamEntry
    {
        QString name;
        QString contentType;
        QUrl url;
        // Octet streams are sent in network byte order, word by word; other content as it came.
        bool isBinary() const;
    };

    // Called by the worker from its event loop, on the processor's thread. Blocks in the poll until
    // one input message is handed to the worker or the bridge is to stop; control requests and
    // broadcasts are served on the way.
    void dispatchMessages();
    // From each Connect: one target per data stream with a name and a valid URL. A target's type is
    // subscribed outside the filter lists, so Start and Stop never take it away.
    void configureTargets();
    // An entry with an invalid URL for a type without a target.
    StreamEntry entryFor(QByteArray const& type) const { return streamMap.value(type); }

    StreamInput input;
    QMap<QByteArray, StreamEntry> streamMap;
    std::unique_ptr<HttpBridgeWorker> worker; // exists while process runs
};

} // namespace zel
