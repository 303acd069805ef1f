#include <zel/zmqcontroller.h>

#include <zel/context.h>

#include <boost/lexical_cast.hpp>

namespace zel {

std::string ZmqControllerSupport::makeUniqueAddress(void const* owner)
{
    return "inproc://ZEL/__" + boost::lexical_cast<std::string>(owner) + "__";
}

std::shared_ptr<zmq::socket_t> ZmqControllerSupport::makePairSocket()
{
    return std::make_shared<zmq::socket_t>(Context::createSocket(zmq::socket_type::pair));
}

QByteArray const& ZmqControllerSupport::stopFrame()
{
    static QByteArray const frame("<ControlMessage><MessageType>Shutdown</MessageType></ControlMessage>");
    return frame;
}

} // namespace zel
