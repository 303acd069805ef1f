#pragma once

#include <zel/bytestreammessage.h>
#include <zel/zel_export.h>

#include <QObject>

#include <exception>
#include <memory>

class QEventLoop;
class QNetworkAccessManager;
class QNetworkReply;
class QTimer;

namespace zel {

class HttpBridge;

// The Qt side of an HttpBridge, on the bridge's thread: an event loop that waits for one POST at a
// time and hands back to the bridge's ZeroMQ poll between them. 100 ms after the start it first
// polls; a POST that has not ended within 1000 ms is aborted.
class ZEL_EXPORT HttpBridgeWorker : public QObject
{
    Q_OBJECT

public:
    explicit HttpBridgeWorker(HttpBridge* bridge);
    ~HttpBridgeWorker() override;

    // Runs the event loop until the bridge is told to stop; what the bridge threw while dispatching
    // is thrown here, after the loop has ended.
    void run();
    void quit();
    // Starts the POST of one message, or drops it when its type has no valid target.
    void postMessage(ByteStreamMessage& message);

signals:
    void si_dispatch();

private slots:
    void sl_networkReply(QNetworkReply* reply);
    void sl_timeout();
    void sl_dispatch();

private:
    HttpBridge* bridge;
    std::unique_ptr<QEventLoop> eventLoop; // exists while run runs
    std::exception_ptr failure;
    QNetworkAccessManager* networkManager = nullptr;
    QNetworkReply* pendingReply = nullptr;
    QTimer* timer = nullptr;
};

} // namespace zel
