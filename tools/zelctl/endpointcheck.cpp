#include "endpointcheck.h"

namespace {

bool isPort(QString const& text, bool wildcard)
{
    if (wildcard && text == QLatin1String("*"))
        return true;
    bool ok = false;
    int const port = text.toInt(&ok);
    return ok && text.size() <= 5 && port >= 1 && port <= 65535 && text[0].isDigit();
}

} // namespace

QString endpointProblem(QString const& address, bool bind)
{
    for (char const* scheme : { "ipc://", "inproc://" }) {
        if (address.startsWith(QLatin1String(scheme)))
            return address.size() > int(qstrlen(scheme)) ? QString()
                                                         : QStringLiteral("the name after %1 is missing").arg(scheme);
    }
    QString const tcp = QStringLiteral("tcp://");
    if (!address.startsWith(tcp))
        return QStringLiteral("it is none of tcp://HOST:PORT%1, ipc://PATH, inproc://NAME")
            .arg(bind ? QStringLiteral(" (or :*)") : QString());
    QString const rest = address.mid(tcp.size());
    int const colon = rest.lastIndexOf(QLatin1Char(':'));
    if (colon < 0)
        return QStringLiteral("the port is missing");
    QString const host = rest.left(colon);
    if (host.isEmpty() || host.contains(QLatin1Char(' ')) || (!bind && host == QLatin1String("*")))
        return QStringLiteral("the host is missing or not one to connect to");
    // A connect resolves host names; a bind takes an interface or an address only.
    if (bind && host == QLatin1String("localhost"))
        return QStringLiteral("ZeroMQ binds interfaces and addresses, not host names: write 127.0.0.1 for localhost");
    if (!isPort(rest.mid(colon + 1), bind))
        return bind ? QStringLiteral("the port must be a number from 1 to 65535, or *")
                    : QStringLiteral("the port must be a number from 1 to 65535");
    return {};
}
