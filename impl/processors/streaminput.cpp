#include <zel/streaminput.h>

#include "processors/sourceconnection.h"

#include <zel/context.h>

namespace zel {

void StreamInput::create(
    MessageHandler<ZmqByteStreamInSocket, ByteStreamMessage>* handler, SocketReader& reader, int receiveHighWaterMark)
{
    socket = std::make_unique<zmq::socket_t>(Context::createSocket(zmq::socket_type::sub));
    client = std::make_unique<InputClientBase<ZmqByteStreamInSocket, ByteStreamMessage>>(
        std::make_unique<ZmqByteStreamInSocket>(*socket), handler);
    index = reader.addSocket(*socket, ZMQ_POLLIN);
    if (receiveHighWaterMark >= 0)
        socket->set(zmq::sockopt::rcvhwm, receiveHighWaterMark);
}

void StreamInput::release()
{
    client.reset();
    socket.reset();
}

void StreamInput::connect(zelmsg::Processor& configuration, QString const& address, QVector<QString> const& filters)
{
    FilterChange const change = connectSource(configuration, *socket, address, filters);
    if (change.subscribeAll)
        subscribeDirectly(QByteArray());
    for (QString const& filter : change.added)
        subscribe(filter);
}

void StreamInput::start(QString const& name)
{
    if (!name.isEmpty())
        return subscribe(name);
    for (QString const& filter : QStringList(knownFilters))
        subscribe(filter);
}

void StreamInput::stop(QString const& name)
{
    if (!name.isEmpty())
        return unsubscribe(name);
    for (QString const& filter : QStringList(knownFilters))
        unsubscribe(filter);
}

void StreamInput::subscribeDirectly(QByteArray const& prefix)
{
    socket->set(zmq::sockopt::subscribe, zmq::const_buffer(prefix.constData(), static_cast<size_t>(prefix.size())));
}

void StreamInput::serve(SocketReader& reader)
{
    if (hasEvents(reader))
        client->processInput();
}

void StreamInput::subscribe(QString const& name)
{
    if (!knownFilters.contains(name))
        knownFilters << name;
    if (subscribedFilters.contains(name))
        return;
    setSubscription(*socket, ZMQ_SUBSCRIBE, name);
    subscribedFilters << name;
}

void StreamInput::unsubscribe(QString const& name)
{
    if (subscribedFilters.removeAll(name) > 0)
        setSubscription(*socket, ZMQ_UNSUBSCRIBE, name);
}

} // namespace zel
