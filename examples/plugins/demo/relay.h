#pragma once

#include "batchedprocessor.h"

#include <cstdint>

namespace demo {

// Publishes every message it receives on its own stream, unchanged, while it runs. Parameters:
// forwarded to read (messages published so far), batch as for every BatchedProcessor.
class Relay : public BatchedProcessor
{
public:
    using BatchedProcessor::BatchedProcessor;

protected:
    void handleMessage(zel::ByteStreamMessage& message, zel::ZmqByteStreamInSocket* socket) override;
    bool getParameter(QString const& name, QString& value) override;
    bool getParameterList(QStringList& names) override;

private:
    std::uint64_t forwarded = 0;
};

} // namespace demo
