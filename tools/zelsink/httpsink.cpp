#include "httpsink.h"

#include <QTcpSocket>

#ifdef __linux__
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#endif

namespace {

// Acknowledges at once what has arrived. Qt's HTTP client writes a POST's header and body
// separately and leaves Nagle's rule on, so the body waits for the header's acknowledgement,
// which a delayed ACK would hold back some 40 ms per request.
void acknowledgeNow(QTcpSocket* socket)
{
#ifdef __linux__
    int const on = 1;
    setsockopt(static_cast<int>(socket->socketDescriptor()), IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
#else
    Q_UNUSED(socket)
#endif
}

} // namespace

HttpSink::HttpSink(QObject* parent)
    : QObject(parent)
{
    connect(&server, &QTcpServer::newConnection, this, &HttpSink::accept);
}

HttpSink::~HttpSink()
{
    // An open connection emits disconnected as the server destroys it, and the handler uses
    // members that are gone by then: end the connections first.
    for (QTcpSocket* socket : buffers.keys()) {
        socket->disconnect(this);
        delete socket;
    }
}

bool HttpSink::listen(quint16 port) { return server.listen(QHostAddress::LocalHost, port); }

QString HttpSink::url(QString const& path) const
{
    return QStringLiteral("http://127.0.0.1:%1%2").arg(port()).arg(path);
}

void HttpSink::accept()
{
    while (QTcpSocket* socket = server.nextPendingConnection()) {
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1); // no Nagle stall on small answers
        buffers.insert(socket, QByteArray());
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            buffers.remove(socket);
            socket->deleteLater();
        });
    }
}

void HttpSink::read(QTcpSocket* socket)
{
    QByteArray& buffer = buffers[socket];
    buffer += socket->readAll();
    acknowledgeNow(socket);
    Request request;
    while (takeRequest(buffer, request)) {
        received << request;
        if (received.size() > 1000)
            received.removeFirst();
        ++total;
        emit requestReceived(request);
        if (silent)
            continue;
        socket->write("HTTP/1.1 " + QByteArray::number(status) + " Sink\r\nContent-Length: 0\r\n\r\n");
    }
}

bool HttpSink::takeRequest(QByteArray& buffer, Request& request)
{
    int const headerEnd = buffer.indexOf("\r\n\r\n");
    if (headerEnd < 0)
        return false;
    QList<QByteArray> const lines = buffer.left(headerEnd).split('\n');
    QList<QByteArray> const start = lines.value(0).trimmed().split(' ');
    request = Request { start.value(0), start.value(1), QByteArray(), QByteArray() };
    int length = 0;
    for (QByteArray const& line : lines.mid(1)) {
        int const colon = line.indexOf(':');
        QByteArray const name = line.left(colon).trimmed().toLower();
        QByteArray const value = line.mid(colon + 1).trimmed();
        if (name == "content-length")
            length = value.toInt();
        else if (name == "content-type")
            request.contentType = value;
    }
    int const bodyStart = headerEnd + 4;
    if (buffer.size() < bodyStart + length)
        return false;
    request.body = buffer.mid(bodyStart, length);
    buffer.remove(0, bodyStart + length);
    return true;
}
