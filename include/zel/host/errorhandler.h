#pragma once

#include <zel/host/zelhostframework_export.h>

#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

class IErrorHandler;
class TraceFolder;

// Trace flags and the trace sink of the process. Any thread may call it.
class ZELHOSTFRAMEWORK_EXPORT ErrorHandler
{
public:
    enum TraceFlag : unsigned int {
        TraceFailures = 0x20,
        TraceInformation = 0x40,
    };
    using Sink = std::function<void(QString const& text, QString const& file, unsigned short line)>;

    static ErrorHandler& Instance();
    // Not owned by the caller, and valid only until the next SetInterface.
    static IErrorHandler* Interface();

    // Starts from ZEL_TRACE_FLAGS (hex with 0x, or decimal), 0 when unset or unreadable.
    unsigned int GetTraceFlags() const;
    bool IsTraceOn(unsigned int bits) const { return (GetTraceFlags() & bits) != 0; }
    void SetTraceFlags(unsigned int flags);
    // A host's own default: taken unless ZEL_TRACE_FLAGS gave readable flags.
    void SetDefaultTraceFlags(unsigned int flags);

    // Replaces where trace lines go; an empty sink restores stderr. A sink gets every line; on
    // stderr a line repeated within a second is folded into one with its count. A replaced sink may
    // still be running on another thread, so what it refers to must outlive the replacement.
    void SetTraceSink(Sink sink);
    // Replaces the exception report; null restores the default, which writes to stderr.
    void SetInterface(std::shared_ptr<IErrorHandler> handler);

    // A sink is called outside the lock, and so on several threads at once; stderr lines are
    // written under it.
    void Trace(QString const& text, QString const& file, unsigned short line);

private:
    ErrorHandler();
    ~ErrorHandler();

    std::atomic<unsigned int> m_flags;
    bool m_flagsFromEnvironment = false;
    mutable std::mutex m_mutex;
    Sink m_sink;
    std::shared_ptr<IErrorHandler> m_interface;
    std::unique_ptr<TraceFolder> m_console; // stderr, when there is no sink
};

// Writes one trace line. Callers test a trace flag first.
ZELHOSTFRAMEWORK_EXPORT void _Q_Trace(QString const& text, QString const& file, unsigned short line);
