#pragma once

#include <zel/controlmessage.h>
#include <zel/inputclient.h>
#include <zel/sockettraits.h>
#include <zel/zmqcontrollable.h>
#include <zel/zmqcontrolsockettemplate.h>

#include <QString>
#include <QStringList>

#include <memory>
#include <string>

namespace zel {

// A service whose one input is a DEALER socket behind the router: the group manager and the groups.
class RoutedService : public ZmqControllable
{
public:
    void process() override;

protected:
    using ControlSocket = ZmqControlSocketTemplate<ST>;

    // From initialize, on the service's thread: the DEALER, connected to the router under
    // `identity`, becomes the input that process serves.
    void connectToRouter(MessageHandler<ControlSocket, ControlMessage>* handler, std::string const& routerEndpoint,
        std::string const& identity);
    // From here on the service is unreachable.
    void disconnectFromRouter();

private:
    std::unique_ptr<zmq::socket_t> routerSocket;
    std::unique_ptr<InputClient> inputClient;
    int routerSocketIndex = -1;
};

// The names of a map's entries in its order, joined with commas: the answer of the Query messages.
template <class Map> QString joinNames(Map const& map)
{
    QStringList names;
    for (auto const& entry : map)
        names << QString::fromStdString(entry.first);
    return names.join(QLatin1Char(','));
}

} // namespace zel
