#include "services/processorgroupmanagertemplate.h"

#include <zel/configtool.h>
#include <zel/endpoints.h>
#include <zel/pluginmanager.h>
#include <zel/servecontrolmessage.h>
#include <zel/socketerror.h>

namespace zel {

template <class Traits>
ProcessorGroupManagerHandlerTemplate<Traits>::ProcessorGroupManagerHandlerTemplate(
    std::shared_ptr<PluginManager> pluginManager, std::string const& addressPrefix)
    : addressPrefix(addressPrefix)
    , pluginManager(std::move(pluginManager))
{ }

template <class Traits> ProcessorGroupManagerHandlerTemplate<Traits>::~ProcessorGroupManagerHandlerTemplate()
{
    // Groups go before the plug-in manager their processors came from.
    groups.clear();
}

template <class Traits>
void ProcessorGroupManagerHandlerTemplate<Traits>::handleMessage(
    ControlMessage& message, ZmqControlSocketTemplate<Traits>* replySocket)
{
    if (!replySocket)
        throw SocketError("No reply socket available");
    serveControlMessage(message, replySocket, [this](zelmsg::ControlMessage& record) { operate(record); });
}

template <class Traits> void ProcessorGroupManagerHandlerTemplate<Traits>::operate(zelmsg::ControlMessage& record)
{
    switch (record.GetMessageType()) {
    case zelmsg::ControlMessage::QueryGroups:
        return queryGroups(record);
    case zelmsg::ControlMessage::CreateGroup:
        return createGroup(record);
    case zelmsg::ControlMessage::DeleteGroup:
        return deleteGroup(record);
    default:
        setUnknownMessageType(record);
    }
}

template <class Traits> void ProcessorGroupManagerHandlerTemplate<Traits>::queryGroups(zelmsg::ControlMessage& record)
{
    ConfigTool::setResultSuccess(record, joinNames(groups));
}

template <class Traits> void ProcessorGroupManagerHandlerTemplate<Traits>::createGroup(zelmsg::ControlMessage& record)
{
    std::string const name = record.GetGroupName().toStdString();
    if (groups.count(name) != 0)
        return ConfigTool::setErrorMessage(
            record, QStringLiteral("A group with the name '%1' already exists.").arg(record.GetGroupName()));
    // Blocks until the group and its name service run; a failed start leaves as ThreadError.
    auto thread = std::make_shared<GroupThread>(
        std::make_unique<ProcessorGroupTemplate<Traits>>(pluginManager, name, addressPrefix));
    groups.emplace(name, std::move(thread));
    ConfigTool::setResultSuccess(record);
}

template <class Traits> void ProcessorGroupManagerHandlerTemplate<Traits>::deleteGroup(zelmsg::ControlMessage& record)
{
    auto const it = groups.find(record.GetGroupName().toStdString());
    if (it == groups.end())
        return ConfigTool::setErrorMessage(
            record, QStringLiteral("A group with the name '%1' does not exists.").arg(record.GetGroupName()));
    // The last reference: stops the group with all its processors before the reply goes.
    groups.erase(it);
    ConfigTool::setResultSuccess(record);
}

template class ProcessorGroupManagerHandlerTemplate<ST>;

template <class Traits>
ProcessorGroupManagerTemplate<Traits>::ProcessorGroupManagerTemplate(std::string const& addressPrefix)
    : ProcessorGroupManagerTemplate(std::make_shared<PluginManager>(), addressPrefix)
{ }

template <class Traits>
ProcessorGroupManagerTemplate<Traits>::ProcessorGroupManagerTemplate(
    std::shared_ptr<PluginManager> pluginManager, std::string const& addressPrefix)
    : addressPrefix(addressPrefix)
    , pluginManager(std::move(pluginManager))
{ }

template <class Traits> ProcessorGroupManagerTemplate<Traits>::~ProcessorGroupManagerTemplate() { release(); }

template <class Traits> bool ProcessorGroupManagerTemplate<Traits>::initialize()
{
    ZmqControllable::initialize();
    handler = std::make_unique<ProcessorGroupManagerHandlerTemplate<Traits>>(std::move(pluginManager), addressPrefix);
    connectToRouter(handler.get(), Endpoints::getInternalRouterEndpoint(addressPrefix),
        Endpoints::getGroupManagerEndpoint(addressPrefix));
    return true;
}

template <class Traits> void ProcessorGroupManagerTemplate<Traits>::release()
{
    disconnectFromRouter();
    handler.reset();
}

template class ProcessorGroupManagerTemplate<ST>;

} // namespace zel
