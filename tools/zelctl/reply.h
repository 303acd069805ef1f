#pragma once

#include "invocation.h"

#include <zel/zelmsg/controlmessage.h>

#include <QString>

#include <functional>
#include <string>

// What zelctl writes: results on stdout, complaints on stderr behind the program's name.
void out(QString const& text);
void err(QString const& text);

// A printer shows a good reply the way a person wants to read it.
using Printer = std::function<void(zelmsg::ControlMessage const&)>;

void printNothing(zelmsg::ControlMessage const&);

// Shows how an exchange with `identity` ended and gives the exit code for it; a time-out is followed
// by questions that find out what is missing.
int conclude(Invocation& call, std::string const& identity, Outcome outcome, zelmsg::ControlMessage const& record,
    Printer const& print);
