#include "support/rawpeers.h"

#include <zel/controlmessagehelper.h>
#include <zel/requestclienttemplate.h>
#include <zel/socketreader.h>

#include <gtest/gtest.h>

#include <future>

using zeltest::Frames;
using namespace std::chrono_literals;

namespace {

using RequestClient
    = zel::RequestClientTemplate<zmq::socket_t, zel::ZmqControlSocketTemplate<zel::ST>, zel::SocketReader>;
using Record = zelmsg::ControlMessage;

Record request(std::string const& name) { return zel::ControlMessageHelper::makeResolveStreamMessage(name); }

// The request's frames with the record in it answered: its stream name plus "-answer".
Frames answer(Frames frames)
{
    Record record = zel::decodeControlRecord({ {}, QByteArray::fromStdString(frames.back()) });
    record.SetProcessorName(record.GetStreamName() + "-answer");
    record.SetResultType(Record::Success);
    frames.back() = record.GetXmlString().toUtf8().toStdString();
    return frames;
}

} // namespace

// The test thread is the service, a raw ROUTER on inproc, so that a request is there once sent however
// busy the machine; the client lives on a thread of its own.
TEST(RequestClient, TimeOutGivesUpAndTheNextRequestWorksOnANewSocket)
{
    std::string const address = "inproc://requestclient-test";
    zmq::socket_t service = zeltest::makeSocket(zmq::socket_type::router);
    service.bind(address);
    auto client = std::async(std::launch::async, [&] {
        RequestClient client(address, false, 100);
        Record first = request("first");
        auto const start = std::chrono::steady_clock::now();
        EXPECT_FALSE(client.request("", first));
        EXPECT_GE(std::chrono::steady_clock::now() - start, 90ms);
        EXPECT_EQ(client.getLastMessageText(), "Socket timeout 100ms: " + address);
        EXPECT_FALSE(first.IsResultTypeSet()) << "the record stays the request";

        Record second = request("second");
        EXPECT_TRUE(client.request("", second));
        EXPECT_EQ(second.GetProcessorName(), "second-answer");
        EXPECT_EQ(client.getLastMessageText(), "");

        // The rebuilt client keeps the time-out.
        Record third = request("third");
        EXPECT_FALSE(client.request("", third));
        EXPECT_EQ(client.getLastMessageText(), "Socket timeout 100ms: " + address);
    });
    std::optional<Frames> const first = zeltest::receiveFrames(service);
    std::optional<Frames> const second = zeltest::receiveFrames(service);
    ASSERT_TRUE(first && second);
    EXPECT_NE(first->front(), second->front()) << "the second request came over the same connection";
    // The answer to "first" comes only now, on the way to "second": it must not count.
    zeltest::sendFrames(service, answer(*first));
    zeltest::sendFrames(service, answer(*second));
    EXPECT_TRUE(zeltest::receiveFrames(service));
    client.get();
}
