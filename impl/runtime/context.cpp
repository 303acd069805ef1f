#include <zel/context.h>

namespace zel {

Context::Context()
    : context(std::make_shared<zmq::context_t>())
{
    // Set before any socket exists: one I/O thread, and ZeroMQ's largest socket table below 4096.
    context->set(zmq::ctxopt::io_threads, 1);
    context->set(zmq::ctxopt::max_sockets, 4095);
}

Context::~Context() = default;

Context& Context::Instance()
{
    static Context instance;
    return instance;
}

std::shared_ptr<zmq::context_t> Context::getZMQContext() { return Instance().context; }

zmq::socket_t Context::createSocket(zmq::socket_type type)
{
    std::shared_ptr<zmq::context_t> const context = getZMQContext();
    if (!context)
        throw zmq::error_t(ETERM);
    return zmq::socket_t(*context, type);
}

void Context::reset() { Instance().context.reset(); }

void Context::aboutToTerminate() { reset(); }

} // namespace zel
