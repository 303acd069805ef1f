#include "support/rawpeers.h"

#include <zel/inputclient.h>
#include <zel/routermessage.h>
#include <zel/socketreader.h>
#include <zel/sockettraits.h>
#include <zel/zmqhelper.h>
#include <zel/zmqroutersockettemplate.h>

#include <gtest/gtest.h>

namespace {

using RouterSocket = zel::ZmqRouterSocketTemplate<zel::ST>;

struct Recorder : zel::MessageHandler<RouterSocket, zel::RouterMessage>
{
    void handleMessage(zel::RouterMessage& message, RouterSocket* socket) override
    {
        payloads.push_back(message.payload.toStdString());
        sockets.push_back(socket);
    }
    std::vector<std::string> payloads;
    std::vector<RouterSocket*> sockets;
};

} // namespace

// One message per call, handed to the handler with the socket to answer on (none for subscribers).
TEST(InputClient, OneMessagePerPassWithTheSocketToAnswerOn)
{
    zmq::socket_t router = zeltest::makeSocket(zmq::socket_type::router);
    zmq::socket_t peer = zeltest::makeSocket(zmq::socket_type::dealer);
    std::string address = "inproc://socketreader-test";
    zel::ZmqHelper::bindSocket(router, address);
    zel::ZmqHelper::connectSocket(peer, address, "peer");
    Recorder handler;
    auto wrapper = std::make_unique<RouterSocket>(router);
    RouterSocket* const answerOn = wrapper.get();
    zel::InputClientBase<RouterSocket, zel::RouterMessage> client(std::move(wrapper), &handler);
    zel::SubInputClient<RouterSocket, zel::RouterMessage> subscriber(std::make_unique<RouterSocket>(router), &handler);
    zel::SocketReader reader;
    zmq::socket_t idle = zeltest::makeSocket(zmq::socket_type::pull);
    reader.addSocket(idle, ZMQ_POLLIN);
    reader.addSocket(router, ZMQ_POLLIN);
    reader.removeSocket(0); // moves the router to the front

    for (char const* payload : { "first", "second", "third" })
        zeltest::sendFrames(peer, { "", "to", payload });
    for (zel::InputClient* input : std::initializer_list<zel::InputClient*> { &client, &client, &subscriber }) {
        ASSERT_TRUE(reader.waitForSockets(10000));
        EXPECT_TRUE(zel::SocketReader::isReadable(reader.getEvents(0)));
        input->processInput();
    }
    EXPECT_EQ(handler.payloads, (std::vector<std::string> { "first", "second", "third" }));
    EXPECT_EQ(handler.sockets, (std::vector<RouterSocket*> { answerOn, answerOn, nullptr }));
    EXPECT_FALSE(reader.waitForSockets(50));
}
