#pragma once

#include <zel/environment.h>
#include <zel/idllinstance.h>

#include <memory>
#include <optional>

namespace zel {

// The module's instance for a host: keeps an Environment running between Execute and Shutdown,
// with the frontend address from the setting "EnvironmentAddress" of configuration NAME.
// The host calls it on one thread at a time.
class ZEL_EXPORT EnvironmentDll : public IDllInstance
{
public:
    // Stores the name; starts nothing, reads nothing.
    explicit EnvironmentDll(QString const& name);
    ~EnvironmentDll() override;

    // Starts the environment; blocks until it runs. Gives false on every path: a failed start shows
    // only as a trace line.
    bool Execute() override;
    // Stops the environment; blocks until every thread has ended. Without one, does nothing.
    void Shutdown() override;
    // Environment::getServiceFailure of the running environment; nothing without one. The host's thread.
    std::optional<ServiceFailure> getServiceFailure();

private:
    std::unique_ptr<Environment> environment;
    QString configurationName;
};

} // namespace zel
