#pragma once

#include <zel/messagehandler.h>

#include <memory>

namespace zel {

// Takes exactly one message from its socket and hands it on. On the socket owner's thread, after
// the poll reported input: otherwise it blocks until a message comes. Exceptions pass through.
class InputClient
{
public:
    virtual void processInput() = 0;
    virtual ~InputClient() = default;
};

// Owns the socket wrapper, not the handler; the handler answers on the same socket.
template <class S, class M> class InputClientBase : public InputClient
{
public:
    InputClientBase(std::unique_ptr<S> socket, MessageHandler<S, M>* handler)
        : socket(std::move(socket))
        , handler(handler)
    { }

    void processInput() override
    {
        M message = socket->receiveMessage();
        handler->handleMessage(message, socket.get());
    }

    // For an owner that reads more than one message per wake-up.
    S& getSocket() const { return *socket; }

protected:
    std::unique_ptr<S> socket;
    MessageHandler<S, M>* handler;
};

// For SUB sockets: the handler gets no socket to answer on.
template <class S, class M> class SubInputClient : public InputClientBase<S, M>
{
public:
    using InputClientBase<S, M>::InputClientBase;

    void processInput() override
    {
        M message = this->socket->receiveMessage();
        this->handler->handleMessage(message, nullptr);
    }
};

// Reads from one socket and gives the handler the other one, unchanged message and all.
template <class IS, class M, class OS> class ForwardingInputClient : public InputClient
{
public:
    ForwardingInputClient(std::shared_ptr<IS> input, MessageHandler<OS, M>* handler, std::shared_ptr<OS> output)
        : input(std::move(input))
        , handler(handler)
        , output(std::move(output))
    { }

    void processInput() override
    {
        M message = input->receiveMessage();
        handler->handleMessage(message, output.get());
    }

private:
    std::shared_ptr<IS> input;
    MessageHandler<OS, M>* handler;
    std::shared_ptr<OS> output;
};

} // namespace zel
