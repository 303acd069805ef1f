#include "keyring.h"

#include <zel/curvekeys.h>

#include <QDir>
#include <QFile>

#include <stdexcept>

namespace zeltest {

QString KeyRing::pair(QString const& name)
{
    QString const base = dir.filePath(name);
    QString error;
    if (!QFile::exists(base + QStringLiteral(".key"))
        && !zel::CurveKeys::writeKeyPair(base, zel::CurveKeys::generate(), error))
        throw std::runtime_error(error.toStdString());
    return base;
}

std::string KeyRing::publicKey(QString const& name)
{
    std::string key;
    QString error;
    if (!zel::CurveKeys::readKey(publicKeyFile(name), key, error))
        throw std::runtime_error(error.toStdString());
    return key;
}

QString KeyRing::authorizedFolder(QString const& host)
{
    QString const folder = dir.filePath(host + QStringLiteral(".authorized"));
    QDir().mkpath(folder);
    return folder;
}

void KeyRing::authorize(QString const& host, QString const& client)
{
    QFile::copy(publicKeyFile(client), authorizedFolder(host) + QLatin1Char('/') + client + QStringLiteral(".pub"));
}

QString KeyRing::hostSettings(QString const& host)
{
    return QStringLiteral("ServerKeyFile=%1\nAuthorizedKeysFolder=%2\n")
        .arg(secretKeyFile(host), authorizedFolder(host));
}

QStringList KeyRing::zelctlKeys(QString const& client, QString const& host)
{
    return { QStringLiteral("--key"), secretKeyFile(client), QStringLiteral("--server-key"), publicKeyFile(host) };
}

} // namespace zeltest
