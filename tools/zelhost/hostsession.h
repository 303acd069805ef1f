#pragma once

#include "failureservice.h"
#include "hostsecurity.h"

#include <zel/loadinterface.h>
#include <zel/servicefailure.h>
#include <zel/zmqcontrollablethread.h>

#include <QLibrary>
#include <QString>
#include <QStringList>

#include <optional>

// One run of the module in this host: load it, create the instance, execute, and later stop it.
class HostSession
{
public:
    explicit HostSession(QString instanceName);
    ~HostSession();

    // Loads the module and starts the environment; false with a reason when it did not start.
    bool start();
    QString const& frontendAddress() const { return address; }
    QString const& failureReason() const { return reason; }
    // Empty unless the configuration turns CURVE on.
    QString const& publicKey() const { return security.publicKey(); }
    // The router or the group manager, when one has ended by a failure while the environment runs.
    std::optional<zel::ServiceFailure> serviceFailure() const;
    // Shutdown, HXDestroy, then the termination targets (the ZeroMQ context).
    void stop();

private:
    bool load();
    bool execute();
    bool startFailureService();

    QString name;
    QString address;
    QString reason;
    QLibrary module;
    HXCreateFunction create = nullptr;
    HXDestroyFunction destroy = nullptr;
    zel::IDllInstance* instance = nullptr;
    HostSecurity security; // on before the environment starts, off after it has stopped
    // Runs while the environment does; stopped before it.
    std::unique_ptr<zel::ZmqControllableThread<FailureService>> failureService;
};
