#pragma once

// Trace lines of the module: one _Q_Trace call when a bit of the trace flags is set.

#include <zel/host/errorhandler.h>

#include <QString>

namespace zel {

// The source path of a file, as traces name it: "impl/zmqhelper".
QString tracePath(char const* file);

} // namespace zel

#define ZEL_TRACE(bit, text)                                                                                           \
    do {                                                                                                               \
        if (ErrorHandler::Instance().IsTraceOn(bit))                                                                   \
            _Q_Trace((text), zel::tracePath(__FILE__), static_cast<unsigned short>(__LINE__));                         \
    } while (false)

#define ZEL_TRACE_FAILURE(text) ZEL_TRACE(ErrorHandler::TraceFailures, text)
#define ZEL_TRACE_INFO(text) ZEL_TRACE(ErrorHandler::TraceInformation, text)
