#include "support/environmenttest.h"
#include "support/printers.h"
#include "support/tracecapture.h"

#include "httpsink.h"

#include <zel/httpbridge.h>
#include <zel/qtbridge.h>
#include <zel/qtrepository.h>
#include <zel/zmqcontrollablethread.h>

#include <QNetworkReply>
#include <QPointer>
#include <QRegularExpression>
#include <QSysInfo>
#include <QThread>

#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace std::chrono_literals;
using namespace zeltest;

// The source of a stream, as another processor would be: a PUB on loopback TCP.
class Publisher
{
public:
    Publisher()
    {
        socket.bind("tcp://127.0.0.1:*");
        address = socket.get(zmq::sockopt::last_endpoint);
    }

    void send(std::vector<std::string> const& frames) { sendFrames(socket, frames); }
    void send(std::string const& type, std::string const& data) { send({ type, data }); }

    // A subscriber misses what is sent before its subscription has reached this socket, so the
    // message goes out again every few milliseconds until `arrived` holds.
    template <class Condition> bool sendUntil(std::string const& type, std::string const& data, Condition arrived)
    {
        auto next = std::chrono::steady_clock::now();
        return waitUntil([&] {
            if (arrived())
                return true;
            if (std::chrono::steady_clock::now() >= next) {
                send(type, data);
                next = std::chrono::steady_clock::now() + 25ms;
            }
            return false;
        });
    }

    std::string address;

private:
    zmq::socket_t socket = makeSocket(zmq::socket_type::pub);
};

class BridgeTest : public EnvironmentTest
{
protected:
    void TearDown() override
    {
        // Deleted while this thread serves events: a server here can end a POST in flight.
        for (std::string const group : { "g", "h" })
            toManager(Helper::makeDeleteProcessorGroupMessage(group));
        EnvironmentTest::TearDown();
    }

    std::string connect(std::string const& processor, std::vector<std::string> const& filters)
    {
        return ask(processor, Helper::makeConnectStreamMessage("in", publisher.address, filters));
    }

    Publisher publisher;
};

using Clock = std::chrono::steady_clock;

long long msSince(Clock::time_point begin)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin).count();
}

// One target of the bridge: messages of `type` go to the first address, with the second, if
// there is one, as their content type.
zelmsg::DataStream target(QString const& type, QStringList const& addresses)
{
    zelmsg::DataStream stream;
    stream.SetName(type);
    for (QString const& address : addresses)
        stream.AppendAddress(address);
    return stream;
}

// The bridge "h" posting to an HttpSink on this thread; "silent" never answers.
class HttpBridgeTest : public BridgeTest
{
protected:
    void SetUp() override
    {
        BridgeTest::SetUp();
        silent.setSilent(true);
        ASSERT_TRUE(sink.listen() && silent.listen());
    }

    // Creates the bridge with the target "warm" and `streams`, connects it with `filters`, and
    // publishes "warm" until the sink has one: from then on, what is published reaches the bridge.
    void startBridge(std::vector<zelmsg::DataStream> const& streams, std::vector<std::string> const& filters)
    {
        zelmsg::Processor config;
        config.AppendDataStream(target("warm", { sink.url("/warm") }));
        for (zelmsg::DataStream const& stream : streams)
            config.AppendDataStream(stream);
        ASSERT_EQ(create("h", "HttpBridge", config), "Success");
        ASSERT_EQ(connect("h", filters), "Success");
        ASSERT_TRUE(publisher.sendUntil("warm", "warm", [&] { return sink.count() > 0; }));
    }

    // Path, content type and body of each request but the warm-ups, in order.
    std::vector<std::string> posted() const
    {
        std::vector<std::string> found;
        for (HttpSink::Request const& r : sink.requests()) {
            if (r.path != "/warm")
                found.push_back((r.path + " " + r.contentType + " " + r.body).toStdString());
        }
        return found;
    }

    bool waitForPosts(size_t count)
    {
        return waitUntil([&] { return posted().size() >= count; });
    }

    QStringList bridgeTraces() const { return traces.texts().filter(QRegularExpression("^HttpBridge: ")); }

    TraceCapture traces; // failures
    HttpSink sink;
    HttpSink silent;
};

} // namespace

TEST_F(HttpBridgeTest, PostsKnownTypesInTheirFormAndSkipsStreamsWithoutNameOrValidUrl)
{
    if (QSysInfo::ByteOrder != QSysInfo::LittleEndian)
        GTEST_SKIP() << "the expected bodies are those of a little-endian machine";
    startBridge({ target("bin", { sink.url("/bin") }), target("oct", { sink.url("/oct"), "application/octet-stream" }),
                    target("text", { sink.url("/text"), "text/plain" }), target("", { sink.url("/unnamed") }),
                    target("noaddress", {}), target("badurl", { "http://127.0.0.1:99999/x" }) },
        { "unused" });
    // None of the skipped was subscribed: an empty name would let in every type. Each whole 32-bit
    // word of an octet stream is reversed and the bytes after the last one stay.
    for (std::string const type : { "zzz", "noaddress", "badurl" })
        publisher.send(type, "x");
    publisher.send("bin", "ABCDEFGH");
    publisher.send("oct", "ABCDEF");
    publisher.send("text", "ABCDEFGH");
    ASSERT_TRUE(waitForPosts(3));
    EXPECT_EQ(posted(),
        (std::vector<std::string> { "/bin application/octet-stream DCBAHGFE", "/oct application/octet-stream DCBAEF",
            "/text text/plain ABCDEFGH" }));
    // A skipped stream that had been connected would show: an unknown type, or a failed POST.
    EXPECT_EQ(bridgeTraces(), QStringList());
}

TEST_F(HttpBridgeTest, FailedPostsAreTracedAndCostOneTimeOutEachEvenAtDelete)
{
    HttpSink refusing;
    refusing.setStatus(404);
    ASSERT_TRUE(refusing.listen());
    startBridge({ target("slow", { silent.url("/slow") }), target("lost", { refusing.url("/lost") }),
                    target("a", { sink.url("/a") }) },
        {});
    auto begin = Clock::now();
    for (auto const& [type, data] : std::vector<std::pair<std::string, std::string>> {
             { "nobody", "x" }, { "lost", "1" }, { "slow", "2" }, { "slow", "3" }, { "a", "4" } })
        publisher.send(type, data);
    ASSERT_TRUE(waitForPosts(1));
    // Two time-outs of 1000 ms; Qt's coarse timers may fire up to 5 % early.
    EXPECT_GE(msSince(begin), 1900);
    EXPECT_LT(msSince(begin), 2900);
    EXPECT_EQ(refusing.count(), 1) << "posted once, not again";
    EXPECT_EQ(posted(), std::vector<std::string> { "/a application/octet-stream 4" });

    // A Delete during a POST is read only after the POST has timed out.
    publisher.send("slow", "5");
    ASSERT_TRUE(waitUntil([&] { return silent.count() == 3; }));
    begin = Clock::now();
    EXPECT_EQ(remove("h"), "Success");
    EXPECT_LT(msSince(begin), 1500);
    EXPECT_EQ(silent.count(), 3) << "each posted once, not again";
    // The error number comes with Qt's text for it.
    QString const timeout = QStringLiteral("HttpBridge: %1 timeout").arg(silent.url("/slow"));
    EXPECT_EQ(bridgeTraces(),
        (QStringList { "HttpBridge: unknown type nobody",
            QStringLiteral("HttpBridge: %1 error %2 (Error transferring %1 - server replied: Sink)")
                .arg(refusing.url("/lost"), QString::number(QNetworkReply::ContentNotFoundError)),
            timeout, timeout, timeout }));
}

// While a POST is pending the bridge reads no input: ZeroMQ keeps ten messages for it and drops the
// rest, so that a slow server costs input, not memory.
TEST_F(HttpBridgeTest, InputBeyondItsQueueIsDroppedWhileAPostIsPending)
{
    // Over inproc the publisher's own queue of one adds to the bridge's, and nothing else does.
    zmq::socket_t feed = makeSocket(zmq::socket_type::pub);
    feed.set(zmq::sockopt::sndhwm, 1);
    feed.bind("inproc://httpbridge-queue");
    zelmsg::Processor config;
    for (zelmsg::DataStream const& stream : { target("warm", { sink.url("/warm") }),
             target("held", { silent.url("/held") }), target("n", { sink.url("/n") }) })
        config.AppendDataStream(stream);
    ASSERT_EQ(create("h", "HttpBridge", config), "Success");
    ASSERT_EQ(
        ask("h", Helper::makeConnectStreamMessage("in", "inproc://httpbridge-queue", std::vector<std::string> {})),
        "Success");
    ASSERT_TRUE(waitUntil([&] {
        sendFrames(feed, { "warm", "" });
        return sink.count() > 0;
    }));
    sendFrames(feed, { "held", "" });
    ASSERT_TRUE(waitUntil([&] { return silent.count() == 1; }));

    for (int i = 0; i < 100; ++i)
        sendFrames(feed, { "n", std::to_string(i) });
    std::string const end = "/n application/octet-stream end";
    // The POST times out after a second; then the queue drains, and a marker sent until it arrives
    // says that it has.
    ASSERT_TRUE(waitUntil([&] {
        sendFrames(feed, { "n", "end" });
        return !posted().empty() && posted().back() == end;
    }));
    auto const all = posted();
    auto const kept = std::count_if(all.begin(), all.end(), [&](std::string const& p) { return p != end; });
    // Eleven places in all; libzmq tells the writer of reads in batches, so up to five of them may
    // still count as taken by the messages read before.
    EXPECT_GE(kept, 5);
    EXPECT_LE(kept, 11) << "kept " << kept << " of 100";
    EXPECT_EQ(all.front(), "/n application/octet-stream 0") << "the oldest stay, the newest go";
}

TEST_F(HttpBridgeTest, StartAndStopActOnTheListedFiltersOnly)
{
    startBridge({ target("a", { sink.url("/a") }) }, { "extra" });
    auto const unknown = [&] { return bridgeTraces().size(); };
    // Each round: "extra" shows whether the filter is subscribed, "a" that the round is over.
    auto const round = [&](std::string const& n) {
        publisher.send("extra", "x");
        publisher.send("a", n);
        return waitForPosts(std::stoul(n));
    };
    ASSERT_TRUE(round("1"));
    EXPECT_EQ(unknown(), 1);

    // A Start of a subscribed filter adds nothing, so one Stop ends it; a Stop of a stream name,
    // which is not listed, changes nothing.
    EXPECT_EQ(ask("h", Helper::makeStartStreamMessage("extra")), "Success");
    EXPECT_EQ(ask("h", Helper::makeStopStreamMessage("a")), "Success");
    EXPECT_EQ(ask("h", Helper::makeStopStreamMessage("extra")), "Success");
    ASSERT_TRUE(round("2"));
    EXPECT_EQ(unknown(), 1);

    // A Start without a name brings back every filter ever listed; a Stop without one ends them.
    EXPECT_EQ(ask("h", Helper::makeStartStreamMessage("")), "Success");
    ASSERT_TRUE(publisher.sendUntil("extra", "x", [&] { return unknown() >= 2; }));
    publisher.send("a", "3");
    ASSERT_TRUE(waitForPosts(3)); // nothing sent before is still on its way
    int const seen = unknown();
    EXPECT_EQ(ask("h", Helper::makeStopStreamMessage("")), "Success");
    ASSERT_TRUE(round("4"));
    EXPECT_EQ(unknown(), seen);
}

TEST_F(HttpBridgeTest, AFailureInsideTheEventLoopEndsTheThreadWithoutCrossingQt)
{
    static QStringList qtMessages; // Qt's own warnings, among them one for an exception thrown through it
    QtMessageHandler const previous
        = qInstallMessageHandler([](QtMsgType, QMessageLogContext const&, QString const& text) { qtMessages << text; });
    // Its handling fails, as any fault inside the bridge's event loop would.
    struct FailingBridge : zel::HttpBridge
    {
        FailingBridge()
            : HttpBridge({}, "failing", "g", zel::internalAddressPrefixDefault)
        { }
        void handleMessage(zel::ByteStreamMessage&, zel::ZmqByteStreamInSocket*) override
        {
            throw std::runtime_error("handling failed");
        }
    };
    {
        zel::ZmqControllableThread<FailingBridge> thread(std::make_unique<FailingBridge>());
        ASSERT_EQ(connect("failing", {}), "Success");
        EXPECT_TRUE(publisher.sendUntil("any", "x", [&] { return thread.isFinished(); }));
    } // release and delete after the failure
    qInstallMessageHandler(previous);
    EXPECT_EQ(qtMessages, QStringList());
}

namespace {

QString repositoryKey(std::string const& group, std::string const& processor)
{
    return QString::fromStdString(processorIdentity(group, processor));
}

// The bridge "q" in group "g", whose si_message reaches this thread.
class QtBridgeTest : public BridgeTest
{
protected:
    // Creates and connects the bridge, and publishes "<warmType>: warm" until one arrives.
    void startBridge(std::vector<std::string> const& filters, std::string const& warmType)
    {
        ASSERT_EQ(create("q", "QtBridge"), "Success");
        auto* const bridge = qobject_cast<zel::QtBridge*>(zel::QtRepository::getQObject(repositoryKey("g", "q")));
        ASSERT_NE(bridge, nullptr);
        QObject::connect(
            bridge, &zel::QtBridge::si_message, &receiver,
            [this](QByteArray const& type, QByteArray const& data) {
                if (data != "warm")
                    received.push_back(type.toStdString() + ": " + data.toStdString());
                onReceiverThread = onReceiverThread && QThread::currentThread() == receiver.thread();
                warm = true;
            },
            Qt::QueuedConnection);
        ASSERT_EQ(connect("q", filters), "Success");
        ASSERT_TRUE(publisher.sendUntil(warmType, "warm", [&] { return warm; }));
    }

    bool waitFor(size_t count)
    {
        return waitUntil([&] { return received.size() >= count; });
    }

    QObject receiver; // lives on this thread
    std::vector<std::string> received; // all but the warm-ups
    bool onReceiverThread = true;
    bool warm = false;
};

} // namespace

TEST_F(QtBridgeTest, TheRepositoryHoldsEachBridgeFromCreateToDelete)
{
    ASSERT_EQ(createGroup("h"), "Success");
    QString const inG = repositoryKey("g", "q");
    QString const inH = repositoryKey("h", "q");

    // The entry is there when the Create is answered.
    ASSERT_EQ(create("q", "QtBridge"), "Success");
    ASSERT_EQ(create("q", "base.QtBridge", {}, "h"), "Success");
    EXPECT_EQ(create("x", "base.QTBRIDGE"), "Error: Processor of type 'base.QTBRIDGE' could not be created.");
    QPointer<QObject> const first = zel::QtRepository::getQObject(inG);
    QPointer<QObject> const second = zel::QtRepository::getQObject(inH);
    ASSERT_NE(qobject_cast<zel::QtBridge*>(first.data()), nullptr);
    ASSERT_NE(qobject_cast<zel::QtBridge*>(second.data()), nullptr);
    EXPECT_NE(first.data(), second.data());

    EXPECT_EQ(remove("q"), "Success");
    EXPECT_TRUE(zel::QtRepository::getQObject(inG).isNull());
    EXPECT_TRUE(first.isNull()) << "the bridge is gone with its entry";
    EXPECT_EQ(zel::QtRepository::getQObject(inH).data(), second.data());
}

TEST_F(QtBridgeTest, MessagesArriveQueuedWithTypeFirstAndDataSecond)
{
    startBridge({}, "a");
    // Neither Stop ends the catch-all subscription of the empty filter list.
    EXPECT_EQ(ask("q", Helper::makeStopStreamMessage("")), "Success");
    EXPECT_EQ(ask("q", Helper::makeStopStreamMessage("a")), "Success");
    publisher.send("a", "payload");
    publisher.send({ "a" }); // the type frame alone
    publisher.send("b", "end");
    ASSERT_TRUE(waitFor(3));
    EXPECT_EQ(received, (std::vector<std::string> { "a: payload", "a: ", "b: end" }));
    EXPECT_TRUE(onReceiverThread);
}
