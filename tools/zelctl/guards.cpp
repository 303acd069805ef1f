#include "guards.h"

#include "endpointcheck.h"
#include "identities.h"

#include <zel/curvekeys.h>
#include <zel/curvesecurity.h>

#include <QUrl>

#include <cstdio>

namespace {

// ZeroMQ takes identities of at most 255 bytes; ours carry a terminating NUL.
int const maxIdentityBytes = 255;

// What a group itself is known by beneath its name: a processor of that name would clash.
QStringList const groupOwnNames
    = { QStringLiteral("nameservice"), QStringLiteral("broadcast"), QStringLiteral("__nameservice__internal__") };

bool refuse(QString const& why)
{
    std::fprintf(stderr, "zelctl: %s (--force sends it anyway)\n", qPrintable(why));
    return false;
}

bool forced(Invocation& call) { return call.line.has(QStringLiteral("--force")); }

// Why `address` is no target of an HttpBridge; empty when it is one.
QString urlProblem(QString const& address)
{
    QUrl const url(address, QUrl::StrictMode);
    bool const web = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    return url.isValid() && web && !url.host().isEmpty() ? QString()
                                                         : QStringLiteral("an HttpBridge posts to http(s)://HOST/PATH");
}

// Names each address of the configuration's streams as the processor type reads it.
QString configProblem(QString const& type, zelmsg::Processor const& config)
{
    QString const bare = type.section(QLatin1Char('.'), -1);
    if (bare == QLatin1String("QtBridge"))
        return {}; // it reads no stream of its configuration
    for (zelmsg::DataStream const& stream : config.GetDataStream()) {
        QVector<QString> const& addresses = stream.GetAddress();
        for (int i = 0; i < addresses.size(); ++i) {
            // A bridge's stream is a URL followed by its content type.
            bool const http = bare == QLatin1String("HttpBridge");
            if (http && i > 0)
                break;
            QString const problem = http ? urlProblem(addresses[i]) : endpointProblem(addresses[i], true);
            if (!problem.isEmpty())
                return QStringLiteral("stream %1: '%2' is refused: %3").arg(stream.GetName(), addresses[i], problem);
        }
    }
    return {};
}

// True when the identity with its NUL fits; else refuses the name that made it.
bool identityFits(std::string const& identity, QString const& name)
{
    if (identity.size() + 1 <= size_t(maxIdentityBytes))
        return true;
    return refuse(QStringLiteral("the name '%1' makes an identity longer than ZeroMQ's %2 bytes")
                      .arg(name)
                      .arg(maxIdentityBytes));
}

} // namespace

bool acceptSourceAddress(Invocation& call, QString const& address)
{
    std::string key;
    QString const bare = QString::fromStdString(zel::CurveSecurity::splitServerKey(address.toStdString(), key));
    QString const problem = !key.empty() && !zel::CurveKeys::isKey(key)
        ? QStringLiteral("the server key after #serverkey= is not 40 characters of Z85")
        : endpointProblem(bare, false);
    if (problem.isEmpty() || forced(call))
        return true;
    return refuse(QStringLiteral("'%1' is not an address to connect to: %2").arg(address, problem));
}

bool acceptProcessor(Invocation& call, zelmsg::Processor const& config)
{
    if (forced(call))
        return true;
    QString const& name = call.args[1];
    if (groupOwnNames.contains(name))
        return refuse(QStringLiteral("'%1' is a name the group itself uses; choose another").arg(name));
    std::string const identity = Identities::processor(call.args[0], name);
    if (!identityFits(identity, name))
        return false;
    QString const problem = configProblem(call.args[2], config);
    return problem.isEmpty() || refuse(problem);
}

bool acceptGroupName(Invocation& call)
{
    if (forced(call))
        return true;
    QString const& name = call.args[0];
    if (name.isEmpty())
        return refuse(QStringLiteral("a group needs a name"));
    if (name.contains(QLatin1Char('/')))
        return refuse(QStringLiteral("'%1': a group's name must not hold '/', which separates the names of its "
                                     "processors")
                          .arg(name));
    // The name service's identity is the longest one a group makes.
    std::string const identity = Identities::nameService(name);
    return identityFits(identity, name);
}
