#include "streamaddress.h"

#include <zel/curvesecurity.h>

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

QString pick(QVector<QString> const& registered, QString const& frontend, bool otherHost)
{
    std::string key;
    QString const machine
        = tcpHost(QString::fromStdString(zel::CurveSecurity::splitServerKey(frontend.toStdString(), key)));
    for (QString const& address : registered) {
        QString const host = tcpHost(address);
        if (otherHost && (host.isEmpty() || isLoopback(host)))
            continue;
        if (!isWildcard(host) || machine.isEmpty() || isWildcard(machine))
            return address;
        return tcp + machine + address.mid(tcp.size() + host.size());
    }
    return QString();
}

} // namespace

QString StreamAddress::dialable(QVector<QString> const& registered, QString const& frontend, bool otherHost)
{
    QString const address = pick(registered, frontend, otherHost);
    if (!otherHost || !address.startsWith(tcp))
        return address;
    // A processor of another host trusts the publisher's server key only when the address carries
    // it: the key zelctl itself trusts for the publisher's zelhost.
    std::string const key = zel::CurveSecurity::serverKeyFor(frontend.toStdString());
    return QString::fromStdString(zel::CurveSecurity::withServerKey(address.toStdString(), key));
}
