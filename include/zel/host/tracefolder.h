#pragma once

#include <zel/host/zelhostframework_export.h>

#include <QString>

#include <chrono>
#include <functional>

// Keeps a flood of one trace line readable: a line repeated within a second of its last writing is
// counted, not written. The count goes out as the line plus "(repeated N times)" with the first
// repeat a second later, with another line, or on flush. Not thread-safe: the owner serialises.
class ZELHOSTFRAMEWORK_EXPORT TraceFolder
{
public:
    using Clock = std::chrono::steady_clock;
    using Output = std::function<void(QString const& line)>;

    // `now` is the clock; tests give their own, so that a second passes without waiting for it.
    explicit TraceFolder(Output output, std::function<Clock::time_point()> now = Clock::now);
    // Flushes.
    ~TraceFolder();
    TraceFolder(TraceFolder const&) = delete;
    TraceFolder& operator=(TraceFolder const&) = delete;

    void write(QString const& line);
    // Writes the count of the repeats held back, if any.
    void flush();

private:
    Output output;
    std::function<Clock::time_point()> now;
    QString last;
    Clock::time_point lastWritten;
    int held = 0; // repeats of `last` since it was last written
};
