#pragma once

#include <zel/bytestreammessage.h>
#include <zel/messagehandler.h>
#include <zel/processorbase.h>
#include <zel/streaminput.h>
#include <zel/zmqbytestreamsockettemplate.h>

#include <QByteArray>
#include <QObject>

namespace zel {

// Hands a byte stream to a Qt application in the same process: one si_message per received
// message, emitted on the processor's thread (a receiver elsewhere gets it queued). The bridge is
// in the QtRepository under its endpoint string from initialize to release.
class ZEL_EXPORT QtBridge : public QObject,
                            public ProcessorBase,
                            public MessageHandler<ZmqByteStreamInSocket, ByteStreamMessage>
{
    Q_OBJECT

public:
    QtBridge(zelmsg::Processor const& configuration, std::string const& processorName, std::string const& groupName,
        std::string const& addressPrefix);
    ~QtBridge() override;

    static QString getProcessorType();

    bool initialize() override;
    void release() override;

signals:
    void si_message(QByteArray type, QByteArray data);

protected:
    void checkDataEvents() override;
    bool connect(QString const& streamName, QString const& streamAddress, QVector<QString> const& filters) override;
    bool start(QString const& streamName) override;
    bool stop(QString const& streamName) override;
    bool setParameter(QString const& name, QString const& value) override;
    bool getParameter(QString const& name, QString& value) override;
    bool getParameterList(QStringList& names) override;
    bool startNewRecording(QString& value) override;
    void handleMessage(ByteStreamMessage& message, ZmqByteStreamInSocket* socket) override;

    // The key a host looks the bridge up by: its routing identity.
    QString getIdForQTRepository() const;

private:
    StreamInput input;
};

} // namespace zel
