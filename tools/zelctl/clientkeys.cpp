#include "clientkeys.h"

#include "invocation.h"

#include <zel/curvekeys.h>
#include <zel/curvesecurity.h>

#include <QFile>

#include <cstdio>

namespace clientkeys {

namespace {

// A file holding the key, or the key's own text.
bool readServerKey(QString const& given, std::string& key, QString& error)
{
    if (!QFile::exists(given) && zel::CurveKeys::isKey(given.toStdString())) {
        key = given.toStdString();
        return true;
    }
    return zel::CurveKeys::readKey(given, key, error);
}

} // namespace

bool apply(CommandLine const& line, QString& error)
{
    QString const keyFile = line.value(QStringLiteral("--key"), qEnvironmentVariable("ZEL_KEY"));
    QString const serverKey = line.value(QStringLiteral("--server-key"), qEnvironmentVariable("ZEL_SERVER_KEY"));
    if (keyFile.isEmpty() && serverKey.isEmpty())
        return true;
    if (keyFile.isEmpty() || serverKey.isEmpty()) {
        error = QStringLiteral("--key (or ZEL_KEY), this client's secret key, and --server-key (or ZEL_SERVER_KEY), "
                               "the host's public key, go together");
        return false;
    }
    zel::CurveKeyPair keys;
    if (!zel::CurveKeys::readKeyPair(keyFile, keys, error))
        return false;
    std::string server;
    if (!readServerKey(serverKey, server, error))
        return false;
    zel::CurveSecurity::enable(keys, server);
    return true;
}

int keygen(QString const& name)
{
    QString error;
    if (!zel::CurveKeys::writeKeyPair(name, zel::CurveKeys::generate(), error)) {
        std::fprintf(stderr, "zelctl: %s\n", qPrintable(error));
        return ExitFailure;
    }
    std::printf("wrote %s.key (secret, owner only) and %s.pub\n", qPrintable(name), qPrintable(name));
    return ExitSuccess;
}

} // namespace clientkeys
