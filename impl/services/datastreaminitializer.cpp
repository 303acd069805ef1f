#include <zel/datastreaminitializer.h>

#include <zel/nameserviceclient.h>
#include <zel/processorerror.h>
#include <zel/zelmsg/datastream.h>
#include <zel/zmqhelper.h>

namespace zel {

DataStreamInitializer::DataStreamInitializer(
    std::string const& endpoint, std::string const& processorName, NameServiceClient& client)
    : endpoint(endpoint)
    , processorName(processorName)
    , client(client)
{ }

void DataStreamInitializer::initialize(zmq::socket_t& socket, zelmsg::DataStream& stream)
{
    QVector<QString>& addresses = stream.GetAddress();
    std::vector<std::string> bound;
    for (QString& address : addresses) {
        std::string text = address.toStdString();
        ZmqHelper::bindSocket(socket, text);
        bound.push_back(text);
        address = QString::fromStdString(text);
    }
    std::string const name = stream.GetName().toStdString();
    if (!client.registerStream(name, processorName, bound))
        throw ProcessorError(endpoint + ": Stream '" + name + "'could not be registered at nameservice");
}

} // namespace zel
