#pragma once

#include "pipeline.h"

#include <QStringList>

// ZeroMQ's context allows 4095 sockets, and each zelhost has one context: a few hundred processors
// fill it, long before the descriptor limit. The estimate counts what a pipeline file needs on each
// of its hosts, by the numbers measured on a running zelhost.
namespace SocketBudget {

int const contextLimit = 4095;
int const perHost = 14; // router, group manager and their clients
int const perGroup = 4; // the group's thread, name service and their sockets
int const perProcessor = 7; // its thread's control sockets, the stream, the name service client
int const perInput = 1;

// One line for each host of the file whose estimate crosses the limit; none when all fit.
QStringList crossings(Pipeline const& pipeline);

} // namespace SocketBudget
