#pragma once

#include <zel/inputclient.h>
#include <zel/socketreader.h>
#include <zel/zel_export.h>

#include <zmq.hpp>

#include <memory>
#include <vector>

namespace zel {

// What runs on a controlled thread. Constructed on the creator's thread; initialize, process and
// release run on its own thread, so sockets are built in initialize, never in the constructor.
class ZEL_EXPORT ZmqControllable
{
public:
    virtual ~ZmqControllable();
    // Adds the control socket to the reader; derived classes call this first. False: cannot run.
    virtual bool initialize();
    // The main loop; returns when the object is to stop.
    virtual void process() = 0;
    // After a poll: true when the control socket is quiet; otherwise takes its one frame, whatever
    // it holds, and gives false, meaning stop.
    virtual bool checkControlSocket();
    // Frees what initialize built; also runs after an initialize that failed half-way.
    virtual void release();

    // The thread's end of the stop channel, handed over by the controller on the new thread.
    void setControlSocket(std::shared_ptr<zmq::socket_t> socket);

protected:
    struct Input
    {
        int index;
        InputClient* client;
    };
    // The loop of every service. Only from process(), on the object's own thread: blocks in the poll
    // without time-out, returns once the control socket has a frame. Each input with an event is served
    // one message per wake, in the order given, so no input starves another; the inputs stay the
    // caller's.
    void dispatchUntilStopped(std::vector<Input> const& inputs);

    SocketReader reader;
    std::shared_ptr<zmq::socket_t> controlSocket;
    int controlSocketIndex = -1;
};

} // namespace zel
