#pragma once

#include <zel/streamcounters.h>
#include <zel/zel_export.h>
#include <zel/zelmsg/controlmessage.h>

#include <QString>
#include <QVector>

#include <chrono>
#include <cstdint>
#include <string>

namespace zel {

// What a processor has done, answered to GetParameter of `parameterName` before the processor's
// own parameters are asked: its type, whether it runs, what its inputs took and its streams sent,
// its wake-ups and the time it spent working. Everything is counted and read on the processor's
// thread, so the fields are plain and nothing per message takes a lock.
class ZEL_EXPORT ProcessorStatistics
{
public:
    using Clock = std::chrono::steady_clock;

    // The reserved name; every name beginning with "zel." is kept for the framework.
    static QString const parameterName;

    // On the creator's thread, before the processor's thread starts.
    void setType(std::string const& processorType) { type = QString::fromStdString(processorType); }

    // The counters stay the socket wrappers'; they must live until clearStreams.
    void addInput(StreamCounters const& counters) { inputs.append(&counters); }
    void addStream(QString const& name, StreamCounters const& counters) { streams.append({ name, &counters }); }
    void clearStreams();

    static Clock::time_point now()
    {
#ifdef ZEL_NO_COUNTERS
        return {};
#else
        return Clock::now();
#endif
    }
    void countWakeUp()
    {
#ifndef ZEL_NO_COUNTERS
        ++wakeUps;
#endif
    }
    // One batch of input served from `started` on: one clock read per batch, not per message.
    void countBatch([[maybe_unused]] Clock::time_point started)
    {
#ifndef ZEL_NO_COUNTERS
        ++batches;
        lastMessage = Clock::now();
        busy += lastMessage - started;
#endif
    }
    // Work done without input, such as a generator's idle processing.
    void countWork([[maybe_unused]] Clock::time_point started)
    {
#ifndef ZEL_NO_COUNTERS
        busy += Clock::now() - started;
#endif
    }

    // Answers GetParameter of the reserved name and gives true; leaves any other record alone.
    bool answer(zelmsg::ControlMessage& record) const;
    // Notes the state that a served Start or Stop has left.
    void observe(zelmsg::ControlMessage const& record);

    // The compact JSON of the answer.
    QString toJson() const;

private:
    struct Stream
    {
        QString name;
        StreamCounters const* counters;
    };

    QString type;
    bool running = true;
    QVector<StreamCounters const*> inputs;
    QVector<Stream> streams;
    std::uint64_t wakeUps = 0;
    std::uint64_t batches = 0;
    Clock::duration busy {};
    Clock::time_point lastMessage {};
    Clock::time_point const created = Clock::now();
};

} // namespace zel
