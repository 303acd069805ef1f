#pragma once

#include "commandline.h"
#include "controlclient.h"

#include <QString>

#include <functional>
#include <vector>

// Exit codes of zelctl.
enum ExitCode { ExitSuccess = 0, ExitFailure = 1, ExitUsage = 2, ExitTimeout = 3 };

// One call of a command: its words, the client, and how the reply is shown.
struct Invocation
{
    CommandLine const& line;
    ControlClient& client;
    QStringList args; // the command's arguments, without its name
};

struct Command
{
    QString name;
    QString usage; // the arguments, for the help
    QString summary; // one line
    QString details; // more help, may be empty
    int minArgs;
    int maxArgs; // -1: no limit
    std::function<int(Invocation&)> run;
    bool local = false; // works without a running system: no address needed
};

std::vector<Command> const& commands();
Command const* findCommand(QString const& name);
