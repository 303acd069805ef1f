#include <zel/zmqcontroller.h>

#include <zel/context.h>
#include <zel/zelmsg/controlmessage.h>

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
    static QByteArray const frame = [] {
        zelmsg::ControlMessage shutdown;
        shutdown.SetMessageType(zelmsg::ControlMessage::Shutdown);
        return shutdown.GetXmlString().toUtf8();
    }();
    return frame;
}

} // namespace zel
