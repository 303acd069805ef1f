#pragma once

#include "commands.h"

// zelctl info FILE: the channels of a recording with their message counts, its time span and size.
int mcapInfo(Invocation& call);
