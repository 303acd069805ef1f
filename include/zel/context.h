#pragma once

#include <zel/host/iabstractterminationtarget.h>
#include <zel/zel_export.h>

#include <zmq.hpp>

#include <memory>
#include <string>

namespace zel {

// The one ZeroMQ context of the process, and a termination target of the host.
class ZEL_EXPORT Context : public IAbstractTerminationTarget
{
public:
    // The singleton, made on first use from any thread. A failing zmq_ctx_new leaves as
    // zmq::error_t and the next call tries again.
    static Context& Instance();
    // A copy of the context pointer; null after reset. Any thread, not overlapping reset.
    static std::shared_ptr<zmq::context_t> getZMQContext();
    // A new socket on the context. Throws zmq::error_t (ETERM) once the context is reset.
    static zmq::socket_t createSocket(zmq::socket_type type);
    // What ZeroMQ meant when it last refused a socket with "Too many open files", in words a user
    // can act on: the context's socket limit or the process's descriptor limit. Empty when it never
    // refused one. Any thread.
    static std::string socketExhaustion();
    // Drops the context for good. Any thread, but only once the threads that own sockets are
    // stopping: it blocks until every socket on the context is closed (libzmq's termination), and
    // sockets still open get ETERM. Called by the host at its termination; final for the process.
    static void reset();

    // The host's end of the process: reset, with the same blocking.
    void aboutToTerminate() override;
    ~Context() override;

private:
    Context();

    std::shared_ptr<zmq::context_t> context;
};

} // namespace zel
