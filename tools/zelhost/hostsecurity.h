#pragma once

#include <zel/zaphandler.h>
#include <zel/zmqcontrollablethread.h>

#include <QString>
#include <QStringList>

#include <memory>
#include <set>
#include <string>

class ICfg;

// The host's opt-in CURVE: its key pair and the clients it lets in, read from the configuration.
// While it is on, the process's TCP sockets are secured and a ZAP handler decides who connects.
class HostSecurity
{
public:
    static QString const serverKeyFileKey;
    static QString const authorizedKeysFolderKey;

    // Off when neither key is in the configuration. Relative paths are taken from `configFolder`.
    // False with a reason when the settings are incomplete or a key file is bad; security stays off.
    bool start(ICfg const& cfg, QString const& configFolder, QString& reason);
    // Stops the ZAP handler and turns security off; after the environment's sockets are closed.
    void stop();
    ~HostSecurity();

    bool isOn() const { return zap != nullptr; }
    QString const& publicKey() const { return hostPublicKey; }

private:
    bool readAuthorizedKeys(QString const& folder, std::set<std::string>& keys, QString& reason) const;

    QString hostPublicKey;
    std::unique_ptr<zel::ZmqControllableThread<zel::ZapHandler>> zap;
};
