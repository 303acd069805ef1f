#pragma once

#include <zel/context.h>
#include <zel/controlmessagehelper.h>
#include <zel/decodecontrolrecord.h>
#include <zel/messagetextprovider.h>
#include <zel/zelmsg/controlmessage.h>
#include <zel/zmqcontrolsockettemplate.h>
#include <zel/zmqhelper.h>

#include <QString>

#include <memory>
#include <string>
#include <vector>

namespace zel {

// One blocking request over a REQ socket: send a record, wait for the answer or the time-out.
// After a time-out the socket is thrown away and a new one connected, so a late answer never
// passes for the answer to a later request. Belongs to the thread that made it.
template <class Socket, class ControlSocket, class Reader> class RequestClientTemplate : public MessageTextProvider
{
public:
    // Builds and connects; `addressed` keeps the envelope's address frame on the wire (a peer
    // behind the router). zmq::error_t on failure.
    RequestClientTemplate(std::string const& address, bool addressed, int timeout)
        : address(address)
        , format(addressed ? AddressPayload : PayloadOnly)
    {
        build();
        reader->setTimeout(timeout);
    }

    // One whole exchange; `record` becomes the reply. False on a time-out (record unchanged) or
    // a reply that is not a Success.
    bool request(std::string const& envelopeAddress, zelmsg::ControlMessage& record)
    {
        return exchange(envelopeAddress, record) && checkMessageResult(record);
    }

    // The same for callers that tell a time-out from a refusal: false only on a time-out (record
    // unchanged), else `record` becomes the reply whatever its result.
    bool exchange(std::string const& envelopeAddress, zelmsg::ControlMessage& record)
    {
        send(envelopeAddress, record);
        if (!waitForReply()) {
            rebuild(); // a REQ socket owed an answer cannot send again
            return false;
        }
        receive(record);
        return true;
    }

    // A new socket, same address and time-out; what the old one was owed is dropped.
    void rebuild()
    {
        long const timeout = reader ? reader->getTimeout() : -1;
        // The request on the old socket is abandoned; it must not hold up the end of the context.
        if (socket)
            socket->set(zmq::sockopt::linger, 0);
        close();
        build();
        reader->setTimeout(timeout);
    }

    // Releases the socket; only a rebuild makes the client usable again.
    void close()
    {
        reader.reset();
        controlSocket.reset();
        socket.reset();
    }

    // The exchange of a stream resolve; only a good answer writes the two out arguments.
    bool resolve(std::string const& envelopeAddress, std::string const& name, std::string& processorName,
        std::vector<std::string>& addresses)
    {
        zelmsg::ControlMessage record = ControlMessageHelper::makeResolveStreamMessage(name);
        if (!request(envelopeAddress, record))
            return false;
        processorName = record.GetProcessorName().toStdString();
        addresses = ControlMessageHelper::fromQStringVector(record.GetStreamAddresses());
        return true;
    }

private:
    void send(std::string const& envelopeAddress, zelmsg::ControlMessage const& record)
    {
        controlSocket->sendMessage(ControlMessageHelper::makeMessageEnvelope(envelopeAddress, record));
    }

    // Blocks up to the time-out. False on a time-out, whose text names the address; zmq::error_t
    // when the socket reports an error.
    bool waitForReply()
    {
        int const count = reader->waitForSocketsOrTimeout();
        int const events = reader->getEvents(socketIndex);
        if (count == 0) {
            setLastMessageText(QStringLiteral("Socket timeout %2ms: %1")
                                   .arg(QString::fromStdString(address))
                                   .arg(reader->getTimeout())
                                   .toStdString());
            return false;
        }
        if (Reader::hasError(events))
            throw zmq::error_t();
        return Reader::isReadable(events);
    }

    void receive(zelmsg::ControlMessage& record) { record = decodeControlRecord(controlSocket->receiveMessage()); }

    void build()
    {
        socket = std::make_shared<Socket>(Context::createSocket(zmq::socket_type::req));
        controlSocket = std::make_shared<ControlSocket>(*socket, format);
        reader = std::make_shared<Reader>();
        ZmqHelper::connectSocket(*socket, address);
        socketIndex = reader->addSocket(*socket, ZMQ_POLLIN);
    }

    std::string address;
    MessageFormat format;
    std::shared_ptr<Socket> socket;
    std::shared_ptr<ControlSocket> controlSocket;
    std::shared_ptr<Reader> reader;
    int socketIndex = -1;
};

} // namespace zel
