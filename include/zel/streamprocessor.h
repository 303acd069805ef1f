#pragma once

#include <zel/bytestreammessage.h>
#include <zel/createprocessorerror.h>
#include <zel/messagehandler.h>
#include <zel/processorbase.h>
#include <zel/zmqbytestreamsockettemplate.h>

#include <memory>
#include <string>

namespace zel {

// The base of processors that take byte streams in (a SUB socket, connected by Connect) and put
// exactly one out (a PUB socket, bound to the stream's addresses and registered at the group's name
// service under the stream's name from initialize to release). A derived class implements
// handleMessage and sends through `outputWrapper`, on the processor's thread.
class ZEL_EXPORT StreamProcessor : public ProcessorBase, public MessageHandler<ZmqByteStreamInSocket, ByteStreamMessage>
{
public:
    // The configuration holds one stream with one address. CreateProcessorError for a bad one.
    StreamProcessor(std::string const& processorName, std::string const& groupName, std::string const& streamName,
        std::string const& streamAddress, std::string const& addressPrefix);
    StreamProcessor(zelmsg::Processor const& configuration, std::string const& processorName,
        std::string const& groupName, std::string const& addressPrefix);
    ~StreamProcessor() override;

    bool initialize() override;
    void release() override;

protected:
    void checkDataEvents() override;

    bool connect(QString const& streamName, QString const& streamAddress, QVector<QString> const& filters) override;
    // Set and clear the run flag; what it means is the derived class's affair.
    bool start(QString const& streamName) override;
    bool stop(QString const& streamName) override;
    // These four do nothing and return false: a processor that does not override one answers its
    // request with Error (for the list, "Cannot get list of parameters"). An override lists or
    // handles its own parameters, returns true (an empty list is a success), and does not call
    // these: their false would make the whole answer an Error.
    bool setParameter(QString const& name, QString const& value) override;
    bool getParameter(QString const& name, QString& value) override;
    bool getParameterList(QStringList& names) override;
    bool startNewRecording(QString& value) override;

    // How many input messages one wake-up may serve; values below 1 count as 1, the default. One
    // keeps the loop fair: a stop or a request waits for at most one message. More serves a busy
    // input at ZeroMQ's speed, at the price of a stop or a request waiting behind that many.
    void setInputBatchSize(int messages);
    int getInputBatchSize() const { return inputBatchSize; }

    // Exactly one data stream with at least one address, or CreateProcessorError.
    void checkDataStreamConfig();
    std::string getDataStreamName() const;

    // The sockets exist from initialize to release and are used on the processor's thread only.
    std::unique_ptr<zmq::socket_t> inputSocket;
    std::unique_ptr<InputClient> inputClient;
    int inputIndex = -1;
    std::unique_ptr<zmq::socket_t> outputSocket;
    std::unique_ptr<ZmqByteStreamOutSocket> outputWrapper;
    bool runFlag = true;

private:
    void freeStreamSockets();

    ByteStreamMessage batchMessage; // the batch's messages after the first, in buffers kept between them
    int inputBatchSize = 1;
};

} // namespace zel
