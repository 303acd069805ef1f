#pragma once

#include "commandline.h"
#include "systemclient.h"

#include <QStringList>

// Exit codes of zelctl.
enum ExitCode { ExitSuccess = 0, ExitFailure = 1, ExitUsage = 2, ExitTimeout = 3 };

// One call of a command: its words, the client, and how the reply is shown.
struct Invocation
{
    CommandLine const& line;
    SystemClient& client;
    QStringList args; // the command's arguments, without its name
};
