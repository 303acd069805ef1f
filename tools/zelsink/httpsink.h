#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QTcpServer>

class QTcpSocket;

// An HTTP/1.1 server on 127.0.0.1 that records every request and answers it with a status of the
// caller's choosing, or not at all. Lives on the thread that made it; serves from its event loop.
class HttpSink : public QObject
{
    Q_OBJECT

public:
    struct Request
    {
        QByteArray method;
        QByteArray path;
        QByteArray contentType;
        QByteArray body;
    };

    explicit HttpSink(QObject* parent = nullptr);
    ~HttpSink() override;

    // Port 0 picks a free one.
    bool listen(quint16 port = 0);
    quint16 port() const { return server.serverPort(); }
    QString url(QString const& path = QStringLiteral("/")) const;

    void setStatus(int code) { status = code; }
    // Takes requests but never answers them.
    void setSilent(bool on) { silent = on; }

    // The latest requests, up to a thousand, oldest first; count() tells how many came in all.
    QList<Request> const& requests() const { return received; }
    int count() const { return total; }

signals:
    void requestReceived(HttpSink::Request const& request);

private:
    void accept();
    void read(QTcpSocket* socket);
    // Takes one whole request off the front of the buffer, if there is one.
    bool takeRequest(QByteArray& buffer, Request& request);

    QTcpServer server;
    QHash<QTcpSocket*, QByteArray> buffers;
    QList<Request> received;
    int total = 0;
    int status = 200;
    bool silent = false;
};
