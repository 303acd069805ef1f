#include "support/rawpeers.h"

#include <zel/controlmessagehelper.h>
#include <zel/requestclienttemplate.h>
#include <zel/socketreader.h>
#include <zel/zmqhelper.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
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

// A raw ROUTER on a thread of its own. It answers each request with what `answer` makes of the
// record, echoing the envelope frames; it keeps a request it has no answer for and answers it late,
// just before the next one. On inproc, so that a request is there once sent, however busy the machine.
class RawService
{
public:
    using Answer = std::function<bool(Record&)>;

    explicit RawService(Answer answer)
        : answer(std::move(answer))
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

    std::string address = "inproc://requestclient-test-" + std::to_string(next++);

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
            bool const answers = answer(record);
            QByteArray const xml = record.GetXmlString().toUtf8();
            request->back() = xml.toStdString();
            if (answers)
                zeltest::sendFrames(socket, *request);
            else
                held = request;
        }
    }

    static inline std::atomic<int> next { 0 };
    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::router);
    Answer answer;
    std::atomic<bool> stop { false };
    mutable std::mutex mutex;
    std::vector<Frames> received;
    std::thread worker;
};

Record request(std::string const& streamName)
{
    return zel::ControlMessageHelper::makeResolveStreamMessage(streamName);
}

} // namespace

TEST(RequestClient, TimeOutGivesUpAndTheNextRequestWorksOnANewSocket)
{
    RawService service([](Record& record) {
        record.SetProcessorName(record.GetStreamName() + "-answer");
        record.SetResultType(Record::Success);
        return record.GetStreamName() != "first";
    });
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

TEST(RequestClient, OnlySuccessCountsAndTheTextFollowsTheLastAnswer)
{
    RawService service([](Record& record) {
        QString const name = record.GetStreamName();
        if (name == "ok")
            record.SetResultType(Record::Success);
        else {
            record.SetResultType(name == "warn" ? Record::Warning : Record::Error);
            record.SetMessageText("text of " + name);
        }
        return true;
    });
    RequestClient client(service.address, false, 10000);

    struct Step
    {
        std::string name;
        bool result;
        std::string text;
    };
    for (Step const& step : { Step { "err", false, "text of err" }, Step { "ok", true, "" },
             Step { "warn", false, "text of warn" }, Step { "ok", true, "" } }) {
        SCOPED_TRACE(step.name);
        Record record = request(step.name);
        EXPECT_EQ(client.request("", record), step.result);
        EXPECT_EQ(client.getLastMessageText(), step.text);
        EXPECT_TRUE(record.IsResultTypeSet()) << "the record became the reply";
        EXPECT_EQ(record.GetStreamName().toStdString(), step.name);
    }
}

TEST(RequestClient, FramesOnTheWire)
{
    RawService service([](Record& record) {
        record.SetResultType(Record::Success);
        return true;
    });
    Record record = request("s");
    std::string const xml = record.GetXmlString().toStdString();

    RequestClient direct(service.address, false, 10000);
    EXPECT_TRUE(direct.request("ignored", record));
    RequestClient addressed(service.address, true, 10000);
    record = request("s");
    EXPECT_TRUE(addressed.request("svc", record));

    std::vector<Frames> const requests = service.requests();
    ASSERT_EQ(requests.size(), 2u);
    // REQ adds the delimiter and ROUTER the requester's identity; only the addressed client
    // puts the envelope's address, with its NUL, on the wire.
    EXPECT_EQ(requests[0].size(), 3u);
    EXPECT_EQ(Frames(requests[0].begin() + 1, requests[0].end()), (Frames { "", xml }));
    EXPECT_EQ(requests[1].size(), 4u);
    EXPECT_EQ(Frames(requests[1].begin() + 1, requests[1].end()), (Frames { "", zeltest::withNul("svc"), xml }));
}
