#include "bridgetest.h"

#include "support/tracecapture.h"

#include "httpsink.h"

#include <QNetworkReply>
#include <QSysInfo>

#include <chrono>
#include <string>
#include <vector>

using namespace brtest;

namespace {

using Clock = std::chrono::steady_clock;

// Milliseconds since `begin`, a number that failure messages print readably.
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

// The bridge "h" in group "g", posting to an HttpSink on this thread, and a publisher to feed it.
class HttpBridgeTest : public BridgeTest
{
protected:
    void SetUp() override
    {
        BridgeTest::SetUp();
        ASSERT_TRUE(sink.listen());
    }

    // Creates the bridge with the target "warm" and `streams`, connects it with `filters`, and
    // publishes "warm" until the sink has one: from then on, what is published reaches the bridge.
    void startBridge(std::vector<zelmsg::DataStream> const& streams, std::vector<std::string> const& filters)
    {
        zelmsg::Processor config;
        config.AppendDataStream(target(QStringLiteral("warm"), { sink.url(QStringLiteral("/warm")) }));
        for (zelmsg::DataStream const& stream : streams)
            config.AppendDataStream(stream);
        ASSERT_EQ(create("HttpBridge", "h", config), "Success");
        ASSERT_EQ(connect("h", publisher.address, filters), "Success");
        ASSERT_TRUE(publisher.sendUntil("warm", "warm", [&] { return sink.count() > 0; }));
    }

    // What reached `path` of the sink: content type and body of each request, in order.
    std::vector<std::string> posted(QByteArray const& path) const
    {
        std::vector<std::string> found;
        for (HttpSink::Request const& request : sink.requests()) {
            if (request.path == path)
                found.push_back(request.contentType.toStdString() + " " + request.body.toStdString());
        }
        return found;
    }

    // The paths of all requests but the warm-ups.
    std::vector<std::string> paths() const
    {
        std::vector<std::string> found;
        for (HttpSink::Request const& request : sink.requests()) {
            if (request.path != "/warm")
                found.push_back(request.path.toStdString());
        }
        return found;
    }

    bool waitForPosts(QByteArray const& path, size_t count)
    {
        return zeltest::waitUntil([&] { return posted(path).size() >= count; });
    }

    HttpSink sink;
    Publisher publisher;
};

QStringList bridgeTraces(zeltest::TraceCapture const& traces)
{
    return startingWith(traces.texts(), QStringLiteral("HttpBridge: "));
}

} // namespace

TEST_F(HttpBridgeTest, OctetStreamBodiesArePostedAsNetworkOrderWords)
{
    if (QSysInfo::ByteOrder != QSysInfo::LittleEndian)
        GTEST_SKIP() << "the expected bodies are those of a little-endian machine";
    startBridge({ target("bin", { sink.url("/bin") }), target("blank", { sink.url("/blank"), "" }),
                    target("oct", { sink.url("/oct"), "application/octet-stream" }),
                    target("text", { sink.url("/text"), "text/plain" }),
                    target("caps", { sink.url("/caps"), "Application/Octet-Stream" }) },
        { "warm" });

    publisher.send("bin", std::string("\x01\x02\x03\x04\x05\x06\x07\x08", 8));
    publisher.send("blank", "ABCDEFG");
    publisher.send("oct", "ABCDEF");
    publisher.send("text", "ABCDEFGH");
    publisher.send("caps", "ABCD");
    ASSERT_TRUE(waitForPosts("/caps", 1));

    // Each whole 32-bit word is reversed; the one to three bytes after the last one stay.
    EXPECT_EQ(posted("/bin"), std::vector<std::string> { "application/octet-stream \x04\x03\x02\x01\x08\x07\x06\x05" });
    EXPECT_EQ(posted("/blank"), std::vector<std::string> { "application/octet-stream DCBAEFG" });
    EXPECT_EQ(posted("/oct"), std::vector<std::string> { "application/octet-stream DCBAEF" });
    // Any other content type, even one spelled differently, is posted as it came.
    EXPECT_EQ(posted("/text"), std::vector<std::string> { "text/plain ABCDEFGH" });
    EXPECT_EQ(posted("/caps"), std::vector<std::string> { "Application/Octet-Stream ABCD" });
    EXPECT_EQ(paths(), (std::vector<std::string> { "/bin", "/blank", "/oct", "/text", "/caps" }));
}

TEST_F(HttpBridgeTest, AnUnknownTypeIsTracedAndDroppedAndTheNextMessageServed)
{
    zeltest::TraceCapture traces;
    startBridge({ target("a", { sink.url("/a") }) }, {}); // no filter: every type comes in

    publisher.send("nobody", "x");
    publisher.send("a", "1");
    ASSERT_TRUE(waitForPosts("/a", 1));
    EXPECT_EQ(bridgeTraces(traces), QStringList { "HttpBridge: unknown type nobody" });
    EXPECT_EQ(paths(), std::vector<std::string> { "/a" });
}

TEST_F(HttpBridgeTest, AnErrorStatusIsTracedAndTheBridgeGoesOn)
{
    HttpSink refusing;
    refusing.setStatus(404);
    ASSERT_TRUE(refusing.listen());
    zeltest::TraceCapture traces;
    startBridge({ target("lost", { refusing.url("/lost") }), target("a", { sink.url("/a") }) }, { "warm" });

    publisher.send("lost", "1");
    publisher.send("a", "2");
    ASSERT_TRUE(waitForPosts("/a", 1));
    EXPECT_EQ(refusing.count(), 1) << "posted once, not again";
    EXPECT_EQ(bridgeTraces(traces),
        QStringList { QStringLiteral("HttpBridge: %1 error %2")
                          .arg(refusing.url(QStringLiteral("/lost")))
                          .arg(int(QNetworkReply::ContentNotFoundError)) });
}

TEST_F(HttpBridgeTest, AServerThatNeverAnswersCostsOneTimeOutPerMessage)
{
    HttpSink silent;
    silent.setSilent(true);
    ASSERT_TRUE(silent.listen());
    zeltest::TraceCapture traces;
    startBridge({ target("slow", { silent.url("/slow") }), target("a", { sink.url("/a") }) }, { "warm" });

    auto const begin = Clock::now();
    publisher.send("slow", "1");
    publisher.send("slow", "2");
    publisher.send("a", "3");
    ASSERT_TRUE(waitForPosts("/a", 1));
    long long const elapsed = msSince(begin);

    // Two time-outs of 1000 ms; Qt's coarse timers may fire up to 5 % early.
    EXPECT_GE(elapsed, 1900);
    EXPECT_LT(elapsed, 2900);
    EXPECT_EQ(silent.count(), 2) << "each posted once, not again";
    QString const timeout = QStringLiteral("HttpBridge: %1 timeout").arg(silent.url(QStringLiteral("/slow")));
    EXPECT_EQ(bridgeTraces(traces), (QStringList { timeout, timeout }));
}

TEST_F(HttpBridgeTest, DeletingTheBridgeDuringAPostWaitsForTheEndOfThePost)
{
    HttpSink silent;
    silent.setSilent(true);
    ASSERT_TRUE(silent.listen());
    zeltest::TraceCapture traces;
    startBridge({ target("slow", { silent.url("/slow") }) }, { "warm" });
    publisher.send("slow", "1");
    ASSERT_TRUE(zeltest::waitUntil([&] { return silent.count() == 1; }));

    auto const begin = Clock::now();
    EXPECT_EQ(remove("h"), "Success");
    EXPECT_LT(msSince(begin), 1500);
    // The stop was read only after the POST had timed out.
    EXPECT_EQ(bridgeTraces(traces),
        QStringList { QStringLiteral("HttpBridge: %1 timeout").arg(silent.url(QStringLiteral("/slow"))) });
}

TEST_F(HttpBridgeTest, DestroyingTheEnvironmentDuringAPostWaitsForTheEndOfThePost)
{
    HttpSink silent;
    silent.setSilent(true);
    ASSERT_TRUE(silent.listen());
    startBridge({ target("slow", { silent.url("/slow") }) }, { "warm" });
    publisher.send("slow", "1");
    ASSERT_TRUE(zeltest::waitUntil([&] { return silent.count() == 1; }));

    client.reset();
    auto const begin = Clock::now();
    environment.reset();
    EXPECT_LT(msSince(begin), 1500);
}

TEST_F(HttpBridgeTest, StreamsWithoutNameOrValidUrlAreSkipped)
{
    zeltest::TraceCapture traces(0x60); // failures and information
    zelmsg::DataStream noAddress;
    noAddress.SetName(QStringLiteral("noaddress"));
    startBridge({ target("", { sink.url("/unnamed") }), noAddress, target("badurl", { "http://127.0.0.1:99999/x" }),
                    target("a", { sink.url("/a") }) },
        { "unused" });

    QString const connected = QStringLiteral("HttpBridge: connect %1 to %2 content-type=application/octet-stream");
    EXPECT_EQ(startingWith(traces.texts(), QStringLiteral("HttpBridge: connect ")),
        (QStringList { connected.arg("warm", sink.url("/warm")), connected.arg("a", sink.url("/a")) }));

    // Nothing of theirs was subscribed. An empty name would let in every type; "ab" comes in
    // because it begins with the stream name "a", and is then unknown.
    publisher.send("zzz", "0");
    publisher.send("noaddress", "1");
    publisher.send("badurl", "2");
    publisher.send("ab", "3");
    publisher.send("a", "4");
    ASSERT_TRUE(waitForPosts("/a", 1));
    EXPECT_EQ(startingWith(traces.texts(), QStringLiteral("HttpBridge: unknown ")),
        QStringList { "HttpBridge: unknown type ab" });
    EXPECT_EQ(paths(), std::vector<std::string> { "/a" });
}

TEST_F(HttpBridgeTest, StartAndStopActOnTheListedFiltersOnly)
{
    zeltest::TraceCapture traces;
    startBridge({ target("a", { sink.url("/a") }) }, { "extra" });
    auto const unknown
        = [&] { return startingWith(traces.texts(), QStringLiteral("HttpBridge: unknown type")).size(); };

    publisher.send("extra", "x");
    publisher.send("a", "1");
    ASSERT_TRUE(waitForPosts("/a", 1));
    EXPECT_EQ(unknown(), 1);

    // A Start of a subscribed filter adds nothing, so one Stop ends it; a Stop of a stream name,
    // which is not listed, changes nothing.
    EXPECT_EQ(start("h", "extra"), "Success");
    EXPECT_EQ(stop("h", "a"), "Success");
    EXPECT_EQ(stop("h", "extra"), "Success");
    publisher.send("extra", "x");
    publisher.send("a", "2");
    ASSERT_TRUE(waitForPosts("/a", 2));
    EXPECT_EQ(unknown(), 1);

    // A Start without a name brings back every filter ever listed.
    EXPECT_EQ(start("h", ""), "Success");
    ASSERT_TRUE(publisher.sendUntil("extra", "x", [&] { return unknown() >= 2; }));
    publisher.send("a", "3");
    ASSERT_TRUE(waitForPosts("/a", 3)); // nothing sent before is still on its way
    int const seen = unknown();

    // A Stop without a name ends them again; the stream names stay subscribed.
    EXPECT_EQ(stop("h", ""), "Success");
    publisher.send("extra", "x");
    publisher.send("a", "4");
    ASSERT_TRUE(waitForPosts("/a", 4));
    EXPECT_EQ(unknown(), seen);
    EXPECT_EQ(posted("/a"),
        (std::vector<std::string> { "application/octet-stream 1", "application/octet-stream 2",
            "application/octet-stream 3", "application/octet-stream 4" }));
}

TEST_F(HttpBridgeTest, RefusesParameterRequestsAndAnswersNothingInItsFirst100Ms)
{
    ASSERT_EQ(create("HttpBridge", "h"), "Success");
    auto const begin = Clock::now();
    EXPECT_EQ(ask("h", Helper::makeGetParameterMessage("rate")), "Error: Cannot get parameter: rate");
    EXPECT_GE(msSince(begin), 90);
    EXPECT_EQ(ask("h", Helper::makeSetParameterMessage("rate", "1")), "Error: Cannot set parameter: rate");
    EXPECT_EQ(ask("h", Helper::makeGetParameterListMessage()), "Error: Cannot get list of parameters");
}
