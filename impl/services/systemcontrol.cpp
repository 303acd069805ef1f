#include <zel/systemcontrol.h>

#include <zel/controlmessagehelper.h>
#include <zel/qtbridge.h>
#include <zel/qtrepository.h>
#include <zel/requestclienttemplate.h>
#include <zel/socketreader.h>

#include <vector>

namespace zel {

namespace {

std::string utf8(QString const& text) { return text.toStdString(); }

std::string groupIdentity(QString const& group)
{
    return Endpoints::getGroupEndpoint(utf8(group), internalAddressPrefixDefault);
}

std::string processorIdentity(QString const& group, QString const& processor)
{
    return Endpoints::getProcessorEndpoint(utf8(group), utf8(processor), internalAddressPrefixDefault);
}

} // namespace

class SystemControl::Client : public RequestClientTemplate<zmq::socket_t, ZmqControlSocketTemplate<ST>, SocketReader>
{
public:
    using RequestClientTemplate::RequestClientTemplate;
};

SystemControl::SystemControl(std::string const& frontendAddress, int timeoutMs)
    : client(std::make_unique<Client>(frontendAddress, true, timeoutMs))
{ }

SystemControl::~SystemControl() = default;

bool SystemControl::ask(std::string const& identity, zelmsg::ControlMessage& record)
{
    if (!client->exchange(identity, record)) {
        error = QString::fromStdString(client->getLastMessageText());
        return false;
    }
    if (record.GetResultType() == zelmsg::ControlMessage::Success) {
        error.clear();
        return true;
    }
    error = record.GetResultTypeAsString() + QStringLiteral(": ") + record.GetMessageText();
    return false;
}

bool SystemControl::createGroup(QString const& group)
{
    zelmsg::ControlMessage record = ControlMessageHelper::makeCreateProcessorGroupMessage(utf8(group));
    return ask(Endpoints::getGroupManagerEndpoint(internalAddressPrefixDefault), record);
}

bool SystemControl::deleteGroup(QString const& group)
{
    zelmsg::ControlMessage record = ControlMessageHelper::makeDeleteProcessorGroupMessage(utf8(group));
    return ask(Endpoints::getGroupManagerEndpoint(internalAddressPrefixDefault), record);
}

bool SystemControl::createProcessor(
    QString const& group, QString const& processor, QString const& type, zelmsg::Processor const& configuration)
{
    zelmsg::ControlMessage record
        = ControlMessageHelper::makeCreateProcessorMessage(utf8(type), utf8(processor), configuration);
    return ask(groupIdentity(group), record);
}

bool SystemControl::connect(
    QString const& group, QString const& processor, QString const& stream, QString address, QStringList const& filters)
{
    if (address.isEmpty()) {
        zelmsg::ControlMessage resolve = ControlMessageHelper::makeResolveStreamMessage(utf8(stream));
        if (!ask(Endpoints::getNameServiceEndpoint(utf8(group), internalAddressPrefixDefault), resolve))
            return false;
        address = resolve.GetStreamAddresses().value(0);
    }
    std::vector<std::string> filterList;
    for (QString const& filter : filters)
        filterList.push_back(utf8(filter));
    zelmsg::ControlMessage record
        = ControlMessageHelper::makeConnectStreamMessage(utf8(stream), utf8(address), filterList);
    return ask(processorIdentity(group, processor), record);
}

bool SystemControl::setParameter(
    QString const& group, QString const& processor, QString const& name, QString const& value)
{
    zelmsg::ControlMessage record = ControlMessageHelper::makeSetParameterMessage(utf8(name), utf8(value));
    return ask(processorIdentity(group, processor), record);
}

QtBridge* SystemControl::qtBridge(QString const& group, QString const& processor)
{
    // A bridge is in the repository under its routing identity.
    return qobject_cast<QtBridge*>(
        QtRepository::getQObject(QString::fromStdString(processorIdentity(group, processor))).data());
}

} // namespace zel
