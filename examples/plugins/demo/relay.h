#pragma once

#include "batchedprocessor.h"

namespace demo {

// Publishes every message it receives on its own stream, unchanged, while it runs. Parameter: batch,
// as for every BatchedProcessor.
class Relay : public BatchedProcessor
{
public:
    using BatchedProcessor::BatchedProcessor;

protected:
    void handleMessage(zel::ByteStreamMessage& message, zel::ZmqByteStreamInSocket* socket) override;
};

} // namespace demo
