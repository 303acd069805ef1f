#pragma once

#include "commands.h"

#include <zel/zelmsg/controlmessage.h>

#include <QString>

#include <functional>

// What zelctl writes: results on stdout, complaints on stderr behind the program's name.
void out(QString const& text);
void err(QString const& text);

// A printer shows a good reply the way a person wants to read it.
using Printer = std::function<void(zelmsg::ControlMessage const&)>;

void printNothing(zelmsg::ControlMessage const&);

// Shows how an exchange ended and gives the exit code for it.
int conclude(Invocation& call, Outcome outcome, zelmsg::ControlMessage const& record, Printer const& print);
