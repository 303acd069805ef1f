#include "processors/sourceconnection.h"

#include <zel/configtool.h>
#include <zel/zmqhelper.h>

namespace zel {

FilterChange connectSource(
    zelmsg::Processor& configuration, zmq::socket_t& socket, QString const& address, QVector<QString> const& filters)
{
    if (ConfigTool::addDataSource(configuration, address))
        ZmqHelper::connectSocket(socket, address.toStdString());
    QVector<QString> const before = ConfigTool::getDataFilter(configuration, address);
    FilterChange change;
    if (!ConfigTool::addDataFilter(configuration, address, filters))
        return change;
    QVector<QString> const after = ConfigTool::getDataFilter(configuration, address);
    change.subscribeAll = after.isEmpty();
    for (QString const& filter : after) {
        if (!before.contains(filter))
            change.added << filter;
    }
    return change;
}

void setSubscription(zmq::socket_t& socket, int option, QString const& filter)
{
    QByteArray const bytes = filter.toLatin1();
    if (zmq_setsockopt(socket.handle(), option, bytes.constData(), static_cast<size_t>(bytes.size())) != 0)
        throw zmq::error_t();
}

} // namespace zel
