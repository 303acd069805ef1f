#pragma once

#include <zel/streamprocessor.h>

namespace demo {

// Publishes every message it receives on its own stream, unchanged, while it runs.
class Relay : public zel::StreamProcessor
{
public:
    using zel::StreamProcessor::StreamProcessor;

protected:
    void handleMessage(zel::ByteStreamMessage& message, zel::ZmqByteStreamInSocket* socket) override;
};

} // namespace demo
