#pragma once

#include <zel/configtool.h>
#include <zel/controlmessage.h>
#include <zel/decodecontrolrecord.h>
#include <zel/zelmsg/controlmessage.h>

namespace zel {

// The shape of every control handler: decode the envelope's record, let `operate` write the result
// into it, and answer with only the payload replaced, so the reply finds the requester. Without a
// socket (a broadcast) nothing is sent. Exceptions of decoding and sending pass through.
template <class Socket, class Operation>
void serveControlMessage(ControlMessage& envelope, Socket* socket, Operation&& operate)
{
    zelmsg::ControlMessage record = decodeControlRecord(envelope);
    operate(record);
    if (!socket)
        return;
    envelope.payload = record.GetXmlString().toUtf8();
    socket->sendMessage(envelope);
}

// The answer to a message type that a handler does not serve.
inline void setUnknownMessageType(zelmsg::ControlMessage& record)
{
    ConfigTool::setErrorMessage(record, QStringLiteral("Unknown message type"));
}

} // namespace zel
