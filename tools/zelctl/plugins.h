#pragma once

#include "invocation.h"

// zelctl plugins [DIR]: the plug-ins zelhost would find, loaded here, with their processor types.
int plugins(Invocation& call);
