#pragma once

#include "polling.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <memory>
#include <mutex>

namespace zeltest {

// Collects the trace lines of its lifetime with the given flags on; restores flags and sink after.
// Lines may come from any thread.
class TraceCapture
{
public:
    explicit TraceCapture(unsigned int flags = 0x20);
    ~TraceCapture();
    TraceCapture(TraceCapture const&) = delete;
    TraceCapture& operator=(TraceCapture const&) = delete;

    QStringList texts() const;
    // The source file of each line, as the trace names it ("impl/zmqhelper").
    QStringList files() const;
    int count() const;
    bool waitForCount(int expected, std::chrono::milliseconds deadline = defaultDeadline) const;

private:
    struct Lines
    {
        std::mutex mutex;
        QStringList texts;
        QStringList files;
    };
    unsigned int savedFlags;
    // Shared with the sink: the handler calls a copy of it outside its lock, maybe after we are gone.
    std::shared_ptr<Lines> lines;
};

} // namespace zeltest
