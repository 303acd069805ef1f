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

// The Qt side of an HttpBridge: an event loop that waits for one POST at a time and hands back to
// the bridge's ZeroMQ poll between them. 100 ms after the start it first polls; a POST that has not
// ended within 1000 ms is aborted. Made, run and destroyed on the bridge's thread, its only user.
class ZEL_EXPORT HttpBridgeWorker : public QObject
{
    Q_OBJECT

public:
    explicit HttpBridgeWorker(HttpBridge* bridge);
    ~HttpBridgeWorker() override;

    // Blocks in the event loop until the bridge is told to stop; what the bridge threw while
    // dispatching is thrown here, after the loop has ended.
    void run();
    // Ends run's loop; does nothing when it is not running.
    void quit();
    // From the bridge's dispatch: starts the POST of one message and returns, or drops it when its
    // type has no valid target. Octet-stream data is swapped to network order in place.
    void postMessage(ByteStreamMessage& message);

signals:
    // Connected queued to this object: asks for the next dispatch from the event loop.
    void si_dispatch();

private slots:
    void sl_networkReply(QNetworkReply* reply);
    // The end of the start delay, or of a POST that took too long: either way the poll is next.
    void sl_timeout();
    void sl_dispatch();

private:
    HttpBridge* bridge;
    std::unique_ptr<QEventLoop> eventLoop; // exists while run runs
    std::exception_ptr failure; // caught in sl_dispatch, rethrown by run
    // Qt children: the timer made by run, the manager by the first time-out.
    QNetworkAccessManager* networkManager = nullptr;
    QNetworkReply* pendingReply = nullptr; // the one POST in flight; the manager's child
    QTimer* timer = nullptr;
};

} // namespace zel
