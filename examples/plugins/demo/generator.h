#pragma once

#include <zel/streamprocessor.h>

#include <QElapsedTimer>

#include <cstdint>

namespace demo {

// Publishes sequenced messages on its stream while it runs. Parameters: rate (messages per second,
// 0 as fast as it can, in bursts between polls), size (bytes of data, at least 8), type (the type
// frame, default the stream name), count (stop after this many, 0 for no limit), lossless (1: a
// full subscriber holds the Generator back instead of losing messages; 0, the default, is a plain
// PUB that drops), sent to read. Start and Stop run and pause it.
class Generator : public zel::StreamProcessor
{
public:
    Generator(zelmsg::Processor const& configuration, std::string const& processorName, std::string const& groupName,
        std::string const& addressPrefix);

    bool initialize() override;

protected:
    void handleMessage(zel::ByteStreamMessage& message, zel::ZmqByteStreamInSocket* socket) override;
    void doIdleProcessing() override;
    bool start(QString const& streamName) override;
    bool stop(QString const& streamName) override;
    bool setParameter(QString const& name, QString const& value) override;
    bool getParameter(QString const& name, QString& value) override;
    bool getParameterList(QStringList& names) override;

private:
    bool finished() const { return count > 0 && sent >= count; }
    // Restarts the pacing and picks the idle period that fits the rate.
    void schedule();
    std::uint64_t due() const;
    // Sends the next message unless the stream has no room for it.
    bool sendNext();
    void setLossless(bool on);
    int size() const { return outgoing.data.size(); }

    std::uint64_t rate = 10;
    // The one message sent over and over, its sequence number rewritten in place each time.
    zel::ByteStreamMessage outgoing;
    std::uint64_t count = 0;
    std::uint64_t sent = 0;
    std::uint64_t sentSincePacing = 0;
    bool lossless = false;
    bool waitingForRoom = false;
    QElapsedTimer pacing;
};

} // namespace demo
