#pragma once

#include "invocation.h"

// zelctl graph [--rates] [--format dot|text]: the running topology with every processor's type, as
// Graphviz input or as a tree; with --rates, each link's messages per second.
int graph(Invocation& call);
