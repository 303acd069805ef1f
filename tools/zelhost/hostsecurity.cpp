#include "hostsecurity.h"

#include <zel/curvesecurity.h>
#include <zel/host/icfg.h>

#include <QDir>

QString const HostSecurity::serverKeyFileKey = QStringLiteral("ServerKeyFile");
QString const HostSecurity::authorizedKeysFolderKey = QStringLiteral("AuthorizedKeysFolder");

HostSecurity::~HostSecurity() { stop(); }

bool HostSecurity::start(ICfg const& cfg, QString const& configFolder, QString& reason)
{
    QString const keyFile = cfg.GetValue(serverKeyFileKey, QString(), 0);
    QString const folder = cfg.GetValue(authorizedKeysFolderKey, QString(), 0);
    if (keyFile.isEmpty() && folder.isEmpty())
        return true;
    if (keyFile.isEmpty() || folder.isEmpty()) {
        reason = QStringLiteral("%1 and %2 go together: give both or neither")
                     .arg(serverKeyFileKey, authorizedKeysFolderKey);
        return false;
    }
    QDir const base(configFolder);
    zel::CurveKeyPair keys;
    std::set<std::string> authorized;
    if (!zel::CurveKeys::readKeyPair(base.absoluteFilePath(keyFile), keys, reason)
        || !readAuthorizedKeys(base.absoluteFilePath(folder), authorized, reason))
        return false;
    // The host is a client of itself: its probe of the frontend, and streams between its processors.
    authorized.insert(keys.publicKey);
    zap = std::make_unique<zel::ZmqControllableThread<zel::ZapHandler>>(
        std::make_unique<zel::ZapHandler>(std::move(authorized)));
    zel::CurveSecurity::enable(keys, keys.publicKey);
    hostPublicKey = QString::fromStdString(keys.publicKey);
    return true;
}

void HostSecurity::stop()
{
    if (!zap)
        return;
    zel::CurveSecurity::disable();
    zap.reset();
}

bool HostSecurity::readAuthorizedKeys(QString const& folder, std::set<std::string>& keys, QString& reason) const
{
    QDir const dir(folder);
    if (!dir.exists()) {
        reason = QStringLiteral("%1 %2 does not exist").arg(authorizedKeysFolderKey, folder);
        return false;
    }
    // One public key per client, as zelctl keygen writes them.
    for (QString const& name : dir.entryList({ QStringLiteral("*.pub") }, QDir::Files | QDir::Readable)) {
        std::string key;
        if (!zel::CurveKeys::readKey(dir.absoluteFilePath(name), key, reason))
            return false;
        keys.insert(key);
    }
    return true;
}
