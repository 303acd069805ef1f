#pragma once

#include "invocation.h"

// zelctl info FILE: the channels of a recording with their message counts, its time span and size.
int mcapInfo(Invocation& call);
