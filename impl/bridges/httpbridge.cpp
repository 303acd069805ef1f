#include <zel/httpbridge.h>

#include <zel/httpbridgeworker.h>

#include "runtime/trace.h"

#include <QScopeGuard>

#include <utility>

namespace zel {

namespace {

QString const octetStream = QStringLiteral("application/octet-stream");

// While a POST runs, this many messages wait inside ZeroMQ; what comes beyond is dropped.
int const inputHighWaterMark = 10;

} // namespace

HttpBridge::HttpBridge(zelmsg::Processor const& configuration, std::string const& processorName,
    std::string const& groupName, std::string const& addressPrefix)
    : ProcessorBase(configuration, processorName, groupName, addressPrefix)
{ }

bool HttpBridge::StreamEntry::isBinary() const { return contentType == octetStream; }

HttpBridge::~HttpBridge() { input.release(); }

QString HttpBridge::getProcessorType() { return QStringLiteral("HttpBridge"); }

bool HttpBridge::initialize()
{
    if (!ProcessorBase::initialize())
        return false;
    input.create(this, reader, inputHighWaterMark);
    return true;
}

void HttpBridge::process()
{
    worker = std::make_unique<HttpBridgeWorker>(this);
    // Gone on every way out, failure included, so that release never meets an ended worker.
    auto const dropWorker = qScopeGuard([this] { worker.reset(); });
    worker->run();
}

void HttpBridge::release()
{
    input.release();
    ProcessorBase::release();
    if (worker)
        worker->quit();
}

void HttpBridge::dispatchMessages()
{
    for (;;) {
        if (reader.waitForSocketsOrTimeout() == 0)
            continue;
        if (!checkControlSocket()) {
            worker->quit();
            return;
        }
        dispatchManagementMessage();
        if (input.hasEvents(reader)) {
            input.serve(reader);
            return;
        }
    }
}

void HttpBridge::handleMessage(ByteStreamMessage& message, ZmqByteStreamInSocket*)
{
    if (worker)
        worker->postMessage(message);
}

bool HttpBridge::connect(QString const&, QString const& streamAddress, QVector<QString> const& filters)
{
    input.connect(configuration, streamAddress, filters);
    configureTargets();
    return true;
}

// Each data stream is a target: its name is the message type, its first address the URL, its
// second the content type.
void HttpBridge::configureTargets()
{
    for (zelmsg::DataStream const& stream : std::as_const(configuration).GetDataStream()) {
        QVector<QString> const& addresses = stream.GetAddress();
        StreamEntry entry;
        entry.name = stream.GetName();
        entry.url.setUrl(addresses.value(0), QUrl::TolerantMode);
        entry.contentType = addresses.value(1).isEmpty() ? octetStream : addresses.value(1);
        if (entry.name.isEmpty() || !entry.url.isValid())
            continue;
        ZEL_TRACE_INFO(QStringLiteral("HttpBridge: connect %1 to %2 content-type=%3")
                           .arg(entry.name, entry.url.toString(), entry.contentType));
        QByteArray const key = entry.name.toLatin1();
        streamMap.insert(key, entry);
        input.subscribeDirectly(key);
    }
}

bool HttpBridge::start(QString const& streamName)
{
    input.start(streamName);
    return true;
}

bool HttpBridge::stop(QString const& streamName)
{
    input.stop(streamName);
    return true;
}

bool HttpBridge::setParameter(QString const&, QString const&) { return false; }

bool HttpBridge::getParameter(QString const&, QString&) { return false; }

bool HttpBridge::getParameterList(QStringList&) { return false; }

bool HttpBridge::startNewRecording(QString&) { return false; }

} // namespace zel
