#include <zel/zmqthreadcontroller.h>

#include <zel/context.h>
#include <zel/zmqcontroller.h>
#include <zel/zmqhelper.h>

#include "runtime/trace.h"

namespace zel {

ZmqThreadController::ZmqThreadController()
    : socket(ZmqControllerSupport::makePairSocket())
    , address(makeUniqueSocketAddress())
{
    ZmqHelper::bindSocket(*socket, address);
}

ZmqThreadController::ZmqThreadController(ZmqThreadController&& other) noexcept
    : socket(std::move(other.socket))
    , address(std::move(other.address))
{
    other.address.clear();
}

ZmqThreadController& ZmqThreadController::operator=(ZmqThreadController&& other) noexcept
{
    socket = std::move(other.socket);
    address = std::move(other.address);
    other.address.clear();
    return *this;
}

ZmqThreadController::~ZmqThreadController() = default;

std::string ZmqThreadController::makeUniqueSocketAddress() const
{
    return ZmqControllerSupport::makeUniqueAddress(this);
}

zelmsg::ControlMessage ZmqThreadController::makeCreatedControlMessage(
    zelmsg::ControlMessage::ResultType const& result) const
{
    zelmsg::ControlMessage message;
    message.SetMessageType(zelmsg::ControlMessage::Created);
    message.SetResultType(result);
    return message;
}

bool ZmqThreadController::signalReady()
{
    return sendToCreator(makeCreatedControlMessage(zelmsg::ControlMessage::Success));
}

bool ZmqThreadController::signalError()
{
    return sendToCreator(makeCreatedControlMessage(zelmsg::ControlMessage::Error));
}

bool ZmqThreadController::sendToCreator(zelmsg::ControlMessage const& message)
{
    try {
        // A socket of the calling thread's own: the bound one belongs to the creator.
        zmq::socket_t sender = Context::createSocket(zmq::socket_type::pair);
        sender.connect(address);
        QByteArray const text = message.GetXmlString().toUtf8();
        auto const sent
            = sender.send(zmq::const_buffer(text.constData(), static_cast<size_t>(text.size())), zmq::send_flags::none);
        return sent.value_or(0) == static_cast<size_t>(text.size());
    } catch (std::exception const& e) {
        ZEL_TRACE_FAILURE(QStringLiteral("Sending to creator thread failed: (%1)").arg(QString::fromUtf8(e.what())));
        return false;
    }
}

bool ZmqThreadController::waitForThread()
{
    try {
        zmq::message_t frame;
        if (!socket->recv(frame, zmq::recv_flags::none))
            return false; // EAGAIN
        zelmsg::ControlMessage message;
        message.SetXmlString(QString::fromUtf8(frame.data<char>(), static_cast<int>(frame.size())), false);
        return message.GetMessageType() == zelmsg::ControlMessage::Created
            && message.GetResultType() == zelmsg::ControlMessage::Success;
    } catch (std::exception const& e) {
        ZEL_TRACE_FAILURE(QStringLiteral("Waiting for thread failed: (%1)").arg(QString::fromUtf8(e.what())));
        return false;
    }
}

} // namespace zel
