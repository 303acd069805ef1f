// zelhost [NAME]: runs the ZEL module with configuration NAME.ini (default "zel") until SIGINT or
// SIGTERM. Prints "zelhost: ready at ADDRESS" once the environment runs.

#include "hostsession.h"
#include "stopsignal.h"

#include <zel/host/errorhandler.h>

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    prepareStopSignals();
    QCoreApplication app(argc, argv);
    ErrorHandler::Instance().SetDefaultTraceFlags(ErrorHandler::TraceFailures);
    QStringList const args = app.arguments();
    if (args.size() > 2 || (args.size() == 2 && args[1].startsWith(QLatin1Char('-')))) {
        std::fprintf(stderr, "usage: zelhost [NAME]\n  runs ZEL with the configuration NAME.ini (default zel)\n");
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
    std::fflush(stdout);
    waitForStopSignal();
    session.stop();
    return 0;
}
