#include "hostsession.h"

#include "endpointcheck.h"

#include <zel/controlmessagehelper.h>
#include <zel/endpoints.h>
#include <zel/environmentdll.h>
#include <zel/host/cfgcenter.h>
#include <zel/host/errorhandler.h>
#include <zel/host/iabstractterminationtarget.h>
#include <zel/idllinstance.h>
#include <zel/processorfailures.h>
#include <zel/requestclienttemplate.h>
#include <zel/socketreader.h>

#include <QCoreApplication>
#include <QDir>

#include <algorithm>
#include <memory>
#include <mutex>

namespace {

QString const defaultFrontendAddress = QString::fromStdString(zel::routerFrontendAddressDefault);
int const probeTimeoutMs = 4000;

// Beside the host first, then the library folder of an installed or built tree, then the system's.
QStringList moduleCandidates()
{
    QString const dir = QCoreApplication::applicationDirPath();
    return { dir + QStringLiteral("/ZEL"), dir + QStringLiteral("/../lib/ZEL"), QStringLiteral("ZEL") };
}

QString const addressKey = QStringLiteral("EnvironmentAddress");

// A configuration with keys but none of ours is most likely a typo, which would start on the
// in-process default address that nothing outside can reach. An empty one keeps the default.
QString unknownKeysProblem(ICfg const& cfg, QString const& name)
{
    QStringList const known { addressKey, HostSecurity::serverKeyFileKey, HostSecurity::authorizedKeysFolderKey };
    QStringList const keys = cfg.GetKeys();
    if (keys.isEmpty()
        || std::any_of(keys.begin(), keys.end(), [&](QString const& key) { return known.contains(key); }))
        return {};
    return QStringLiteral("%1.ini has no key zelhost knows (%2); unknown: %3")
        .arg(name, addressKey, keys.join(QStringLiteral(", ")));
}

// Collects the failure texts of a start, so that a failed start says why whatever the flags.
class FailureCollector
{
public:
    FailureCollector()
    {
        ErrorHandler& handler = ErrorHandler::Instance();
        userFlags = handler.GetTraceFlags();
        handler.SetTraceFlags(userFlags | ErrorHandler::TraceFailures);
        handler.SetTraceSink([this](QString const& text, QString const&, unsigned short) {
            std::lock_guard<std::mutex> lock(mutex);
            lines << text;
        });
    }

    ~FailureCollector()
    {
        ErrorHandler::Instance().SetTraceSink({});
        ErrorHandler::Instance().SetTraceFlags(userFlags);
    }

    QStringList collected()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return lines;
    }

private:
    unsigned int userFlags = 0;
    std::mutex mutex;
    QStringList lines;
};

// The environment runs when the group manager answers a QueryGroups through the frontend.
bool frontendAnswers(QString const& address, QString& reason)
{
    try {
        zel::RequestClientTemplate<zmq::socket_t, zel::ZmqControlSocketTemplate<zel::ST>, zel::SocketReader> client(
            address.toStdString(), true, probeTimeoutMs);
        zelmsg::ControlMessage query = zel::ControlMessageHelper::makeQueryProcessorGroupsMessage();
        if (client.request(zel::Endpoints::getGroupManagerEndpoint(zel::internalAddressPrefixDefault), query))
            return true;
        reason = QStringLiteral("the frontend at %1 did not answer: %2")
                     .arg(address, QString::fromStdString(client.getLastMessageText()));
    } catch (std::exception const& e) {
        reason = QStringLiteral("cannot reach the frontend at %1: %2").arg(address, QString::fromUtf8(e.what()));
    }
    return false;
}

} // namespace

HostSession::HostSession(QString instanceName)
    : name(std::move(instanceName))
{ }

HostSession::~HostSession() { stop(); }

bool HostSession::start() { return load() && execute() && startFailureService(); }

bool HostSession::load()
{
    QStringList errors;
    for (QString const& candidate : moduleCandidates()) {
        module.setFileName(candidate);
        if (module.load())
            break;
        errors << module.errorString();
    }
    if (!module.isLoaded()) {
        reason = QStringLiteral("cannot load the ZEL module: ") + errors.join(QStringLiteral("; "));
        return false;
    }
    create = reinterpret_cast<HXCreateFunction>(module.resolve("HXCreate"));
    destroy = reinterpret_cast<HXDestroyFunction>(module.resolve("HXDestroy"));
    if (!create || !destroy) {
        reason = QStringLiteral("the module %1 has no HXCreate or HXDestroy").arg(module.fileName());
        return false;
    }
    return true;
}

bool HostSession::execute()
{
    QString const configFolder = qEnvironmentVariable("ZEL_CONFIG_DIR", QDir::currentPath());
    std::unique_ptr<ICfg> const cfg(CfgCenter::CreateCfg(name, ICfg::Application, QString()));
    if (!cfg) {
        reason = QStringLiteral("no configuration %1.ini in %2").arg(name, configFolder);
        return false;
    }
    address = cfg->GetValue(addressKey, defaultFrontendAddress, 0);
    QString const addressProblem = endpointProblem(address, true);
    if (!addressProblem.isEmpty())
        reason = QStringLiteral("%1 '%2' is refused: %3").arg(addressKey, address, addressProblem);
    else
        reason = unknownKeysProblem(*cfg, name);
    if (!reason.isEmpty() || !security.start(*cfg, configFolder, reason))
        return false;
    std::wstring const wideName = name.toStdWString();
    instance = create(wideName.c_str());
    if (!instance) {
        reason = QStringLiteral("HXCreate failed");
        return false;
    }
    zel::ProcessorFailures::enable();
    FailureCollector failures;
    instance->Execute(); // false on every path: the traces tell a failed start
    QStringList const lines = failures.collected();
    if (!lines.isEmpty()) {
        reason = lines.first(); // the cause; what follows are the layers above it giving up
        return false;
    }
    return frontendAnswers(address, reason);
}

bool HostSession::startFailureService()
{
    try {
        failureService
            = std::make_unique<zel::ZmqControllableThread<FailureService>>(std::make_unique<FailureService>());
        return true;
    } catch (std::exception const& e) {
        reason = QStringLiteral("zelhost's own service did not start: %1").arg(QString::fromUtf8(e.what()));
        return false;
    }
}

std::optional<zel::ServiceFailure> HostSession::serviceFailure() const
{
    // The instance is the module's EnvironmentDll: the module is the library zelhost links.
    auto* const environment = dynamic_cast<zel::EnvironmentDll*>(instance);
    return environment ? environment->getServiceFailure() : std::nullopt;
}

void HostSession::stop()
{
    failureService.reset();
    if (instance) {
        instance->Shutdown();
        destroy(instance);
        instance = nullptr;
    }
    security.stop();
    IAbstractTerminationTarget::terminateAll();
}
