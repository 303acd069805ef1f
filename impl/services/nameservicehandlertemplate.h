#pragma once

#include "services/nameservicestore.h"

#include <zel/configtool.h>
#include <zel/messagehandler.h>
#include <zel/servecontrolmessage.h>

#include <QVector>

#include <exception>

namespace zel {

// Answers RegisterStream, DeregisterStream and ResolveStream from one store, for both doors of the
// service. A failed store call becomes an Error reply and the service goes on.
template <class Socket, class Store>
class NameServiceHandlerTemplate : public virtual MessageHandler<Socket, ControlMessage>
{
public:
    void handleMessage(ControlMessage& envelope, Socket* socket) override
    {
        serveControlMessage(envelope, socket, [this](zelmsg::ControlMessage& record) { operate(record); });
    }

private:
    void operate(zelmsg::ControlMessage& record)
    {
        switch (record.GetMessageType()) {
        case zelmsg::ControlMessage::RegisterStream:
            return guarded(record, [this, &record] { registerStream(record); });
        case zelmsg::ControlMessage::DeregisterStream:
            return guarded(record, [this, &record] { store.deregisterStream(streamName(record)); });
        case zelmsg::ControlMessage::ResolveStream:
            return guarded(record, [this, &record] { resolveStream(record); });
        default:
            setUnknownMessageType(record);
        }
    }

    template <class Operation> static void guarded(zelmsg::ControlMessage& record, Operation operation)
    {
        try {
            operation();
            ConfigTool::setResultSuccess(record);
        } catch (std::exception const& e) {
            ConfigTool::setErrorMessage(record, QString::fromUtf8(e.what()));
        }
    }

    static std::string streamName(zelmsg::ControlMessage const& record) { return record.GetStreamName().toStdString(); }

    void registerStream(zelmsg::ControlMessage const& record)
    {
        QVector<QString> const& addresses = record.GetStreamAddresses();
        NameServiceRecord entry { record.GetProcessorName(), std::vector<QString>(addresses.begin(), addresses.end()) };
        store.registerStream(streamName(record), entry);
    }

    void resolveStream(zelmsg::ControlMessage& record)
    {
        NameServiceRecord const entry = store.resolveStream(streamName(record));
        record.SetProcessorName(entry.processorName);
        record.SetStreamAddresses(QVector<QString>(entry.addresses.begin(), entry.addresses.end()));
    }

    Store store;
};

} // namespace zel
