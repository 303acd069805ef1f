#pragma once

#include "batchedprocessor.h"

#include <cstdint>
#include <optional>

namespace demo {

// Counts what it receives: messages, bytes, and gaps (jumps in the sequence numbers, each jump
// counted once, however many messages it skipped). Parameters: count, bytes, gaps to read; reset
// to start again; batch as for every BatchedProcessor.
class Counter : public BatchedProcessor
{
public:
    using BatchedProcessor::BatchedProcessor;

protected:
    void handleMessage(zel::ByteStreamMessage& message, zel::ZmqByteStreamInSocket* socket) override;
    bool setParameter(QString const& name, QString const& value) override;
    bool getParameter(QString const& name, QString& value) override;
    bool getParameterList(QStringList& names) override;

private:
    std::uint64_t messages = 0;
    std::uint64_t bytes = 0;
    std::uint64_t gaps = 0;
    std::optional<std::uint64_t> lastSequence;
};

} // namespace demo
