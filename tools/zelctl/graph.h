#pragma once

#include "invocation.h"

// zelctl graph [--format dot|text]: the running topology, as Graphviz input or as a tree.
int graph(Invocation& call);
