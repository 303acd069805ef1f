#include "support/rawpeers.h"

#include <zel/controlmessagehelper.h>
#include <zel/requestclienttemplate.h>
#include <zel/socketreader.h>
#include <zel/zmqhelper.h>

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

using zeltest::Frames;
using namespace std::chrono_literals;

namespace {

using RequestClient
    = zel::RequestClientTemplate<zmq::socket_t, zel::ZmqControlSocketTemplate<zel::ST>, zel::SocketReader>;
using Record = zelmsg::ControlMessage;

Record decode(std::string const& payload)
{
    return zel::decodeControlRecord({ {}, QByteArray(payload.data(), static_cast<int>(payload.size())) });
}

// A raw ROUTER on a thread of its own. It answers each resolve of a stream with the stream's name
// plus "-answer", echoing the envelope frames; it holds a resolve of "first" and answers it late, just
// before the next request. On inproc, so that a request is there once sent, however busy the machine.
class RawService
{
public:
    RawService()
    {
        zel::ZmqHelper::bindSocket(socket, address);
        worker = std::thread([this] { run(); });
    }
    ~RawService()
    {
        stop = true;
        worker.join();
    }

    std::vector<Frames> requests() const
    {
        std::lock_guard<std::mutex> lock(mutex);
        return received;
    }

    std::string address = "inproc://requestclient-test";

private:
    void run()
    {
        std::optional<Frames> held;
        while (!stop) {
            auto request = zeltest::receiveFrames(socket, 20ms);
            if (!request)
                continue;
            {
                std::lock_guard<std::mutex> lock(mutex);
                received.push_back(*request);
            }
            if (held)
                zeltest::sendFrames(socket, *std::exchange(held, std::nullopt));
            Record record = decode(request->back());
            record.SetProcessorName(record.GetStreamName() + "-answer");
            record.SetResultType(Record::Success);
            request->back() = record.GetXmlString().toUtf8().toStdString();
            if (record.GetStreamName() != "first")
                zeltest::sendFrames(socket, *request);
            else
                held = request;
        }
    }

    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::router);
    std::atomic<bool> stop { false };
    mutable std::mutex mutex;
    std::vector<Frames> received;
    std::thread worker;
};

Record request(std::string const& name) { return zel::ControlMessageHelper::makeResolveStreamMessage(name); }

} // namespace

TEST(RequestClient, TimeOutGivesUpAndTheNextRequestWorksOnANewSocket)
{
    RawService service;
    RequestClient client(service.address, false, 100);

    Record first = request("first");
    auto const start = std::chrono::steady_clock::now();
    EXPECT_FALSE(client.request("", first));
    auto const waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, 90ms);
    EXPECT_LT(waited, 3s);
    EXPECT_EQ(client.getLastMessageText(), "Socket timeout 100ms: " + service.address);
    EXPECT_FALSE(first.IsResultTypeSet()) << "the record stays the request";

    // The service answers "first" only now, on the way to "second": that answer must not count.
    Record second = request("second");
    EXPECT_TRUE(client.request("", second));
    EXPECT_EQ(second.GetProcessorName(), "second-answer");
    EXPECT_EQ(client.getLastMessageText(), "");

    std::vector<Frames> const requests = service.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_NE(requests[0][0], requests[1][0]) << "the second request came over the same connection";

    // The rebuilt client keeps the time-out.
    Record third = request("first");
    EXPECT_FALSE(client.request("", third));
    EXPECT_EQ(client.getLastMessageText(), "Socket timeout 100ms: " + service.address);
}
