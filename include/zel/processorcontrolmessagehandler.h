#pragma once

#include <zel/controlmessage.h>
#include <zel/messagehandler.h>
#include <zel/processorcontrolinterface.h>
#include <zel/processorstatistics.h>
#include <zel/servecontrolmessage.h>

namespace zel {

// Runs the one operation a control record asks of a processor and writes its result into the
// record: Success, a value, or the operation's failure text. Unknown types get an Error reply.
ZEL_EXPORT void operateProcessor(ProcessorControlInterface& processor, zelmsg::ControlMessage& record);

// Turns a control message into one call on the processor and the result into a reply, sent after
// the call has ended. Without a socket (a broadcast) the result is dropped. Exceptions pass through.
// With statistics, their reserved parameter is answered from them and never reaches the processor.
template <class S> class ProcessorControlMessageHandler : public MessageHandler<S, ControlMessage>
{
public:
    explicit ProcessorControlMessageHandler(
        ProcessorControlInterface* processor, ProcessorStatistics* statistics = nullptr)
        : processor(processor)
        , statistics(statistics)
    { }

    void handleMessage(ControlMessage& message, S* socket) override
    {
        serveControlMessage(message, socket, [this](zelmsg::ControlMessage& record) {
            if (statistics && statistics->answer(record))
                return;
            operateProcessor(*processor, record);
            if (statistics)
                statistics->observe(record);
        });
    }

private:
    ProcessorControlInterface* processor;
    ProcessorStatistics* statistics; // not owned; may be null
};

} // namespace zel
