#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <string>

namespace zeltest {

// Key pairs in a temporary folder, as zelctl keygen writes them: NAME.key and NAME.pub, and a
// folder of authorized public keys per host, "NAME.authorized".
class KeyRing
{
public:
    // Makes the pair NAME unless it is there; its path without the extension.
    QString pair(QString const& name);
    QString secretKeyFile(QString const& name) { return pair(name) + QStringLiteral(".key"); }
    QString publicKeyFile(QString const& name) { return pair(name) + QStringLiteral(".pub"); }
    std::string publicKey(QString const& name);

    // Lets `client`'s public key into `host`.
    void authorize(QString const& host, QString const& client);
    // The lines of host's ini that turn CURVE on.
    QString hostSettings(QString const& host);
    // zelctl's options for `client` talking to `host`.
    QStringList zelctlKeys(QString const& client, QString const& host);

private:
    QString authorizedFolder(QString const& host);

    QTemporaryDir dir;
};

} // namespace zeltest
