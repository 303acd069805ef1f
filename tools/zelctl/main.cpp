// zelctl [--address ADDR] [--timeout MS] [--xml] [--force] COMMAND ...: drives a running ZEL through
// the router's frontend. Exit 0 on Success, 1 on Warning or Error or a target that does not exist,
// 2 on a usage error or a refused request, 3 when no answer comes.

#include "clientkeys.h"
#include "commandline.h"
#include "commands.h"
#include "endpointcheck.h"

#include <zel/endpoints.h>
#include <zel/version.h>

#include <QCoreApplication>

#include <cstdio>

namespace {

void printHelp()
{
    std::printf("usage: zelctl [--address ADDR] [--timeout MS] [--xml] [--force] [--key FILE --server-key KEY]\n"
                "              COMMAND [ARGS]\n"
                "       zelctl --help | --version\n\n"
                "Drives a running ZEL through its frontend address (default: $ZEL_ADDRESS).\n"
                "--key FILE (default $ZEL_KEY) is this client's secret key and --server-key FILE or KEY\n"
                "(default $ZEL_SERVER_KEY) zelhost's public key, for a zelhost with CURVE on (keygen).\n"
                "--timeout is in milliseconds (default 4000); --xml prints the whole reply record;\n"
                "--force sends what zelctl would refuse (a malformed address, a clashing name).\n\n"
                "commands:\n");
    for (Command const& command : commands())
        std::printf(
            "  %-14s %-40s %s\n", qPrintable(command.name), qPrintable(command.usage), qPrintable(command.summary));
    std::printf("\nzelctl COMMAND --help explains a command. Exit: 0 success, 1 warning or error\n"
                "or no such group or processor, 2 usage or refused, 3 no answer.\n");
}

void printCommandHelp(Command const& command)
{
    std::printf("usage: zelctl %s %s\n  %s\n", qPrintable(command.name), qPrintable(command.usage),
        qPrintable(command.summary));
    if (!command.details.isEmpty())
        std::printf("\n%s\n", qPrintable(command.details));
}

int usageError(QString const& text)
{
    std::fprintf(stderr, "zelctl: %s (zelctl --help lists the commands)\n", qPrintable(text));
    return ExitUsage;
}

bool argumentCountFits(Command const& command, int count)
{
    return count >= command.minArgs && (command.maxArgs < 0 || count <= command.maxArgs);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    CommandLine const line = CommandLine::parse(app.arguments().mid(1));
    if (!line.error.isEmpty())
        return usageError(line.error);
    if (line.has(QStringLiteral("--version"))) {
        std::printf("zelctl %s\n", ZEL_VERSION_STRING);
        return ExitSuccess;
    }
    if (line.words.isEmpty()) {
        printHelp();
        return line.has(QStringLiteral("--help")) ? ExitSuccess : ExitUsage;
    }
    Command const* command = findCommand(line.words.first());
    if (!command)
        return usageError(QStringLiteral("unknown command %1").arg(line.words.first()));
    if (line.has(QStringLiteral("--help"))) {
        printCommandHelp(*command);
        return ExitSuccess;
    }
    QStringList const args = line.words.mid(1);
    if (!argumentCountFits(*command, args.size()))
        return usageError(QStringLiteral("usage: zelctl %1 %2").arg(command->name, command->usage));
    QString const address = line.value(QStringLiteral("--address"), qEnvironmentVariable("ZEL_ADDRESS"));
    if (address.isEmpty() && !command->local)
        return usageError(QStringLiteral("no address: give --address or set ZEL_ADDRESS"));
    QString const addressProblem = command->local ? QString() : endpointProblem(address, false);
    if (!addressProblem.isEmpty() && !line.has(QStringLiteral("--force")))
        return usageError(QStringLiteral("'%1' is not an address to connect to: %2").arg(address, addressProblem));
    bool ok = true;
    int const timeout = line.has(QStringLiteral("--timeout")) ? line.value(QStringLiteral("--timeout")).toInt(&ok)
                                                              : zel::socketDefaultTimeout;
    if (!ok || timeout < -1)
        return usageError(QStringLiteral("--timeout takes milliseconds"));
    QString keyError;
    // A command that asks nobody does not read keys: keygen works whatever ZEL_KEY holds.
    if (!command->local && !clientkeys::apply(line, keyError))
        return usageError(keyError);
    try {
        SystemClient client(address.toStdString(), timeout);
        Invocation call { line, client, args };
        return command->run(call);
    } catch (std::exception const& e) {
        std::fprintf(stderr, "zelctl: %s: %s\n", qPrintable(address), e.what());
        return ExitUsage;
    }
}
