#pragma once

#include "invocation.h"

#include <QString>

#include <functional>
#include <vector>

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
