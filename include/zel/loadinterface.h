#pragma once

#include <zel/zel_export.h>

#include <cwchar>

namespace zel {
class IDllInstance;
}

// The module's two entry points, found by name by the host.
extern "C" {
// A new instance named by the zero-terminated text; null on failure, reported to the error handler.
ZEL_EXPORT zel::IDllInstance* HXCreate(wchar_t const* name);
// Destroys the instance, stopping whatever it still runs; a null pointer does nothing.
ZEL_EXPORT void HXDestroy(zel::IDllInstance* instance);
}

// How a host finds them: the types of the two functions.
using HXCreateFunction = zel::IDllInstance* (*)(wchar_t const*);
using HXDestroyFunction = void (*)(zel::IDllInstance*);
