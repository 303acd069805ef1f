#include <zel/context.h>

#include "trace.h"

#include <QString>

#include <atomic>
#include <cerrno>

#ifndef _WIN32
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace zel {

namespace {

// How long a closing socket may go on delivering. Not without limit: a publisher whose TCP
// subscriber went while messages were queued for it ends that connection with the linger of the
// moment, and without limit waits for a reader that never comes, so that the socket never finishes
// closing and the end of the context blocks for ever. Not 0: libzmq 4.3 aborts when a publisher with
// linger 0 closes halfway through a two-frame message whose subscriber goes.
int const socketLingerMs = 200;

enum Exhaustion : int { NotExhausted, SocketLimit, DescriptorLimit };
std::atomic<int> lastExhaustion { NotExhausted };
std::atomic<long> exhaustedLimit { 0 };

// ZeroMQ says EMFILE both when its socket table is full and when the process has no descriptor left
// for the new socket's mailbox: a descriptor that can still be had tells the two apart.
bool outOfDescriptors()
{
#ifdef _WIN32
    return false;
#else
    int const probe = ::dup(STDERR_FILENO);
    if (probe < 0)
        return errno == EMFILE;
    ::close(probe);
    return false;
#endif
}

long descriptorLimit()
{
#ifdef _WIN32
    return 0;
#else
    rlimit limit {};
    return ::getrlimit(RLIMIT_NOFILE, &limit) == 0 ? static_cast<long>(limit.rlim_cur) : 0;
#endif
}

} // namespace

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
    try {
        zmq::socket_t socket(*context, type);
        socket.set(zmq::sockopt::linger, socketLingerMs);
        return socket;
    } catch (zmq::error_t const& e) {
        if (e.num() == EMFILE) {
            bool const descriptors = outOfDescriptors();
            exhaustedLimit = descriptors ? descriptorLimit() : context->get(zmq::ctxopt::max_sockets);
            lastExhaustion = descriptors ? DescriptorLimit : SocketLimit;
            ZEL_TRACE_FAILURE(QStringLiteral("Context: ZeroMQ refused a socket with \"Too many open files\": %1")
                                  .arg(QString::fromStdString(socketExhaustion())));
        }
        throw;
    }
}

std::string Context::socketExhaustion()
{
    std::string const limit = std::to_string(exhaustedLimit.load());
    switch (lastExhaustion.load()) {
    case SocketLimit:
        return "the socket limit of this process, " + limit
            + " ZeroMQ sockets, is reached (about seven a processor); spread the groups over more hosts";
    case DescriptorLimit:
        return "the descriptor limit of this process, " + limit + " open files, is reached; raise it (LimitNOFILE)";
    default:
        return {};
    }
}

void Context::reset() { Instance().context.reset(); }

void Context::aboutToTerminate() { reset(); }

} // namespace zel
