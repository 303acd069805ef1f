#pragma once

// Trace lines of the module: one _Q_Trace call when a bit of the trace flags is set.

#include <zel/host/errorhandler.h>

#include <QString>

// ZEL_TRACE_FILE is the source's path in the tree without its extension and impl's subsystem folder
// ("impl/zmqhelper"), set per source by the build, so that no absolute path of the build machine is compiled in.
#define ZEL_TRACE_PATH QStringLiteral(ZEL_TRACE_FILE)

#define ZEL_TRACE(bit, text)                                                                                           \
    do {                                                                                                               \
        if (ErrorHandler::Instance().IsTraceOn(bit))                                                                   \
            _Q_Trace((text), ZEL_TRACE_PATH, static_cast<unsigned short>(__LINE__));                                   \
    } while (false)

#define ZEL_TRACE_FAILURE(text) ZEL_TRACE(ErrorHandler::TraceFailures, text)
#define ZEL_TRACE_INFO(text) ZEL_TRACE(ErrorHandler::TraceInformation, text)
