// zelhost [NAME]: runs the ZEL module with configuration NAME.ini (default "zel") until SIGINT,
// SIGTERM or SIGHUP, or until the router or the group manager ends by a failure. Prints
// "zelhost: ready at ADDRESS" once the environment runs.

#include "hostsession.h"
#include "stopsignal.h"

#include <zel/context.h>
#include <zel/host/errorhandler.h>
#include <zel/version.h>

#include <QCoreApplication>

#include <chrono>
#include <cstdio>
#include <optional>

namespace {

char const helpText[] = R"(usage: zelhost [NAME]
       zelhost --help | --version

Runs ZEL with the configuration NAME.ini (default zel.ini) until SIGINT, SIGTERM or SIGHUP, and
prints "zelhost: ready at ADDRESS" once clients can connect. SIGHUP stops it like SIGTERM: there
is nothing to reload. When the router or the group manager ends by a failure (a malformed message
at the frontend, a group that cannot start), zelhost prints one line naming the service and the
reason, stops the rest and exits 3, so that a supervisor can start it again.
Exit: 0 after a clean stop, 1 when the environment did not start, 2 on a usage error, 3 when a
service ended by a failure.

The configuration is read from the folder in ZEL_CONFIG_DIR, else the current folder. Its key
EnvironmentAddress is where the router's frontend binds, e.g.
    EnvironmentAddress=tcp://127.0.0.1:5555
(default inproc://zel/__router__external__, reachable only inside this process).

Two more keys turn on CURVE, encryption and authentication of every TCP socket: the frontend and
the streams that processors bind or connect over TCP. Give both or neither; relative paths are
taken from the configuration's folder:
    ServerKeyFile=host.key            this host's secret key (zelctl keygen host), mode 0600
    AuthorizedKeysFolder=authorized   the public keys (*.pub) of the clients let in, one per file
Clients then need a key of their own whose .pub is in that folder, and this host's public key
(zelctl --key FILE --server-key host.pub). A refused client is traced with its address.

Environment:
  ZEL_CONFIG_DIR   folder of NAME.ini
  ZEL_TRACE_FLAGS  trace bits, hex or decimal: 0x20 failures, 0x40 HTTP bridge information
                   (default 0x20)
  ZEL_PLUGIN_PATH  more folders for plug-in files NAME.dll, separated by ':' (';' on Windows).
                   Plug-ins are looked for beside zelhost first, then in these folders, then in
                   the installed folder <prefix>/lib/zel/plugins.
  ZEL_MAX_SOCKETS  a testing aid: ZeroMQ's socket limit for this process in place of 4095, so
                   that a test reaches it with a few processors
)";

// How often the environment's services are looked at while zelhost waits for a stop.
auto const supervisionInterval = std::chrono::milliseconds(100);
int const serviceFailedExit = 3;

// A smaller socket limit, before the module makes its first socket; false when the value is unusable.
bool applyMaxSockets(QString const& value)
{
    bool ok = false;
    int const limit = value.toInt(&ok);
    if (!ok || limit < 1)
        return false;
    zel::Context::getZMQContext()->set(zmq::ctxopt::max_sockets, limit);
    return true;
}

// Waits for a stop signal; 0 after it, the failure's exit code when a service has ended first.
int superviseUntilStopped(HostSession const& session)
{
    while (!waitForStopSignal(supervisionInterval)) {
        std::optional<zel::ServiceFailure> const failure = session.serviceFailure();
        if (!failure)
            continue;
        QString const reason = QString::fromStdString(failure->reason).replace(QLatin1Char('\n'), QLatin1String("; "));
        std::fprintf(
            stderr, "zelhost: the %s ended by a failure, stopping: %s\n", failure->service.c_str(), qPrintable(reason));
        return serviceFailedExit;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    prepareStopSignals();
    QCoreApplication app(argc, argv);
    ErrorHandler::Instance().SetDefaultTraceFlags(ErrorHandler::TraceFailures);
    QStringList const args = app.arguments();
    if (args.size() == 2 && (args[1] == QLatin1String("--help") || args[1] == QLatin1String("-h"))) {
        std::fputs(helpText, stdout);
        return 0;
    }
    if (args.size() == 2 && args[1] == QLatin1String("--version")) {
        std::printf("zelhost %s\n", ZEL_VERSION_STRING);
        return 0;
    }
    if (args.size() > 2 || (args.size() == 2 && args[1].startsWith(QLatin1Char('-')))) {
        std::fprintf(stderr, "usage: zelhost [NAME] (zelhost --help explains)\n");
        return 2;
    }
    QString const maxSockets = qEnvironmentVariable("ZEL_MAX_SOCKETS");
    if (!maxSockets.isEmpty() && !applyMaxSockets(maxSockets)) {
        std::fprintf(stderr, "zelhost: ZEL_MAX_SOCKETS must be a positive number, not %s\n", qPrintable(maxSockets));
        return 2;
    }
    HostSession session(args.size() == 2 ? args[1] : QStringLiteral("zel"));
    bool const started = session.start();
    if (!started) {
        std::fprintf(stderr, "zelhost: the environment did not start: %s\n", qPrintable(session.failureReason()));
        session.stop();
        return 1;
    }
    std::printf("zelhost: ready at %s\n", qPrintable(session.frontendAddress()));
    if (!session.publicKey().isEmpty())
        std::printf("zelhost: CURVE on, public key %s\n", qPrintable(session.publicKey()));
    std::fflush(stdout);
    int const code = superviseUntilStopped(session);
    session.stop();
    return code;
}
