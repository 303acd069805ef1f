#include "streamaddress.h"

namespace {

QString const tcp = QStringLiteral("tcp://");

// "tcp://HOST:PORT" -> HOST; empty for anything else.
QString tcpHost(QString const& address)
{
    int const colon = address.lastIndexOf(QLatin1Char(':'));
    if (!address.startsWith(tcp) || colon < tcp.size())
        return QString();
    return address.mid(tcp.size(), colon - tcp.size());
}

bool isWildcard(QString const& host)
{
    return host == QLatin1String("*") || host == QLatin1String("0.0.0.0") || host == QLatin1String("[::]");
}

bool isLoopback(QString const& host)
{
    return host.startsWith(QLatin1String("127.")) || host == QLatin1String("localhost")
        || host == QLatin1String("[::1]");
}

} // namespace

QString StreamAddress::dialable(QVector<QString> const& registered, QString const& frontend, bool otherHost)
{
    for (QString const& address : registered) {
        QString const host = tcpHost(address);
        if (otherHost && (host.isEmpty() || isLoopback(host)))
            continue;
        QString const machine = tcpHost(frontend);
        if (!isWildcard(host) || machine.isEmpty() || isWildcard(machine))
            return address;
        return tcp + machine + address.mid(tcp.size() + host.size());
    }
    return QString();
}
