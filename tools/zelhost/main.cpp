// zelhost [NAME]: runs the ZEL module with configuration NAME.ini (default "zel") until SIGINT or
// SIGTERM. Prints "zelhost: ready at ADDRESS" once the environment runs.

#include "hostsession.h"
#include "stopsignal.h"

#include <zel/host/errorhandler.h>
#include <zel/version.h>

#include <QCoreApplication>

#include <cstdio>

namespace {

char const helpText[] = R"(usage: zelhost [NAME]
       zelhost --help | --version

Runs ZEL with the configuration NAME.ini (default zel.ini) until SIGINT or SIGTERM, and prints
"zelhost: ready at ADDRESS" once clients can connect. Exit: 0 after a clean stop, 1 when the
environment did not start, 2 on a usage error.

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
)";

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
    HostSession session(args.size() == 2 ? args[1] : QStringLiteral("zel"));
    bool const started = session.start();
    if (!session.configurationWarning().isEmpty())
        std::fprintf(stderr, "zelhost: warning: %s\n", qPrintable(session.configurationWarning()));
    if (!started) {
        std::fprintf(stderr, "zelhost: the environment did not start: %s\n", qPrintable(session.failureReason()));
        session.stop();
        return 1;
    }
    std::printf("zelhost: ready at %s\n", qPrintable(session.frontendAddress()));
    if (!session.publicKey().isEmpty())
        std::printf("zelhost: CURVE on, public key %s\n", qPrintable(session.publicKey()));
    std::fflush(stdout);
    waitForStopSignal();
    session.stop();
    return 0;
}
