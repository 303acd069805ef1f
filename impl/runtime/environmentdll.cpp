#include <zel/environmentdll.h>

#include <zel/host/cfgcenter.h>

#include "runtime/trace.h"

namespace zel {

EnvironmentDll::EnvironmentDll(QString const& name)
    : IDllInstance(name)
    , configurationName(name)
{ }

EnvironmentDll::~EnvironmentDll() = default;

bool EnvironmentDll::Execute()
{
    try {
        std::unique_ptr<ICfg> const cfg(CfgCenter::CreateCfg(configurationName, ICfg::View(2), QString()));
        if (!cfg) {
            ZEL_TRACE_FAILURE(QStringLiteral("Invalid configuration of EnvironmentDll"));
            return false;
        }
        QString const address = cfg->GetValue(
            QStringLiteral("EnvironmentAddress"), QString::fromStdString(routerFrontendAddressDefault), 0);
        auto started = std::make_unique<Environment>(address.toStdString());
        // An earlier environment goes only after the new one has started.
        environment.swap(started);
    } catch (...) {
        ZEL_TRACE_FAILURE(QStringLiteral("Caught unknown exception in EnvironmentDll::Execute"));
    }
    return false;
}

std::optional<ServiceFailure> EnvironmentDll::getServiceFailure()
{
    return environment ? environment->getServiceFailure() : std::nullopt;
}

void EnvironmentDll::Shutdown()
{
    prepareShutdown();
    environment.reset();
}

} // namespace zel
