#include <zel/httpbridgeworker.h>

#include <zel/httpbridge.h>

#include "runtime/trace.h"
#include "transport/byteorder.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

#include <utility>

namespace zel {

namespace {

int const startDelayMs = 100;
int const postTimeoutMs = 1000;

} // namespace

HttpBridgeWorker::HttpBridgeWorker(HttpBridge* bridge)
    : bridge(bridge)
{ }

HttpBridgeWorker::~HttpBridgeWorker() = default;

void HttpBridgeWorker::run()
{
    eventLoop = std::make_unique<QEventLoop>();
    // Queued even on this thread: every dispatch starts from the event loop, never inside a slot.
    QObject::connect(this, &HttpBridgeWorker::si_dispatch, this, &HttpBridgeWorker::sl_dispatch, Qt::QueuedConnection);
    timer = new QTimer(this);
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, this, &HttpBridgeWorker::sl_timeout);
    timer->start(startDelayMs);
    eventLoop->exec();
    eventLoop.reset();
    // Rethrown only out here: an exception must not cross Qt's event loop.
    if (failure)
        std::rethrow_exception(std::exchange(failure, nullptr));
}

void HttpBridgeWorker::quit()
{
    if (eventLoop && eventLoop->isRunning())
        eventLoop->quit();
}

void HttpBridgeWorker::sl_timeout()
{
    if (!networkManager) {
        networkManager = new QNetworkAccessManager(this);
        QObject::connect(networkManager, &QNetworkAccessManager::finished, this, &HttpBridgeWorker::sl_networkReply);
    }
    if (pendingReply) {
        QNetworkReply* reply = pendingReply;
        pendingReply = nullptr;
        ZEL_TRACE_FAILURE(QStringLiteral("HttpBridge: %1 timeout").arg(reply->url().toString()));
        reply->abort();
        reply->deleteLater();
    }
    emit si_dispatch();
}

void HttpBridgeWorker::sl_dispatch()
{
    try {
        bridge->dispatchMessages();
    } catch (...) {
        failure = std::current_exception();
        quit();
    }
}

void HttpBridgeWorker::postMessage(ByteStreamMessage& message)
{
    HttpBridge::StreamEntry const entry = bridge->entryFor(message.type);
    if (!entry.url.isValid()) {
        ZEL_TRACE_FAILURE(QStringLiteral("HttpBridge: unknown type %1").arg(QString::fromLatin1(message.type)));
        emit si_dispatch();
        return;
    }
    ZEL_TRACE_INFO(QStringLiteral("HttpBridge: post %1 %2 bytes").arg(entry.name).arg(message.data.size()));
    QNetworkRequest request(entry.url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, entry.contentType);
    if (entry.isBinary())
        swapWordsToNetworkOrder(message.data);
    timer->start(postTimeoutMs);
    pendingReply = networkManager->post(request, message.data);
}

void HttpBridgeWorker::sl_networkReply(QNetworkReply* reply)
{
    if (!pendingReply || !reply)
        return; // the end of a POST that the time-out aborted
    pendingReply = nullptr;
    timer->stop();
    // The number alone tells a reader nothing; Qt's text says what went wrong.
    if (reply->error() != QNetworkReply::NoError)
        ZEL_TRACE_FAILURE(QStringLiteral("HttpBridge: %1 error %2 (%3)")
                              .arg(reply->url().toString(), QString::number(reply->error()), reply->errorString()));
    reply->deleteLater();
    emit si_dispatch();
}

} // namespace zel
