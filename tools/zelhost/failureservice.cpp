#include "failureservice.h"

#include <zel/configtool.h>
#include <zel/context.h>
#include <zel/endpoints.h>
#include <zel/host/recordexceptions.h>
#include <zel/inputclient.h>
#include <zel/processorfailures.h>
#include <zel/servecontrolmessage.h>
#include <zel/zmqhelper.h>

using Socket = zel::ZmqControlSocketTemplate<zel::ST>;

std::string const FailureService::identity = "zelhost";

bool FailureService::initialize()
{
    if (!ZmqControllable::initialize())
        return false;
    routerSocket = std::make_unique<zmq::socket_t>(zel::Context::createSocket(zmq::socket_type::dealer));
    input = std::make_unique<zel::InputClientBase<Socket, zel::ControlMessage>>(
        std::make_unique<Socket>(*routerSocket, zel::DelimiterAddressPayload), this);
    zel::ZmqHelper::connectSocket(
        *routerSocket, zel::Endpoints::getInternalRouterEndpoint(zel::internalAddressPrefixDefault), identity);
    routerIndex = reader.addSocket(*routerSocket, ZMQ_POLLIN);
    return true;
}

void FailureService::process() { dispatchUntilStopped({ { routerIndex, input.get() } }); }

void FailureService::release()
{
    input.reset();
    routerSocket.reset();
    ZmqControllable::release();
}

void FailureService::handleMessage(zel::ControlMessage& message, Socket* socket)
{
    // Whatever a client sends, the service stays: a record that cannot be read goes unanswered.
    try {
        zel::serveControlMessage(message, socket, [](zelmsg::ControlMessage& record) {
            if (record.GetMessageType() != zelmsg::ControlMessage::GetParameterMessage) {
                zel::setUnknownMessageType(record);
                return;
            }
            QString const processor = record.GetParameterName();
            std::optional<std::string> const reason = zel::ProcessorFailures::reasonFor(processor.toStdString());
            if (reason)
                zel::ConfigTool::setResultSuccess(record, QString::fromStdString(*reason));
            else
                zel::ConfigTool::setErrorMessage(record, QStringLiteral("No failure of '%1' is known").arg(processor));
        });
    } catch (...) { }
}
