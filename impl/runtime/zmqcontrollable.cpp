#include <zel/zmqcontrollable.h>

namespace zel {

ZmqControllable::~ZmqControllable() = default;

bool ZmqControllable::initialize()
{
    controlSocketIndex = reader.addSocket(*controlSocket, ZMQ_POLLIN);
    return true;
}

bool ZmqControllable::checkControlSocket()
{
    if (reader.getEvents(controlSocketIndex) == 0)
        return true;
    zmq::message_t frame;
    if (zmq_msg_recv(frame.handle(), controlSocket->handle(), ZMQ_DONTWAIT) < 0 && zmq_errno() != EAGAIN)
        throw zmq::error_t();
    return false;
}

void ZmqControllable::release() { }

void ZmqControllable::setControlSocket(std::shared_ptr<zmq::socket_t> socket) { controlSocket = std::move(socket); }

void ZmqControllable::dispatchUntilStopped(std::vector<Input> const& inputs)
{
    // A time-out would end the loop as a stop does; the services leave the reader without one.
    while (reader.waitForSockets()) {
        if (!checkControlSocket())
            return;
        for (Input const& input : inputs) {
            if (reader.getEvents(input.index) != 0)
                input.client->processInput();
        }
    }
}

} // namespace zel
