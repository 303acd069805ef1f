#include "bridgetest.h"

#include <zel/baseplugin.h>
#include <zel/endpoints.h>
#include <zel/httpbridge.h>
#include <zel/processorinfo.h>
#include <zel/qtbridge.h>
#include <zel/qtrepository.h>

#include <QObject>
#include <QPointer>
#include <QThread>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

using namespace brtest;

namespace {

QString repositoryKey(std::string const& group, std::string const& processor)
{
    return QString::fromStdString(zeltest::processorIdentity(group, processor));
}

// The bridge "q" in group "g", whose si_message reaches this thread, and a publisher to feed it.
class QtBridgeTest : public BridgeTest
{
protected:
    // Creates the bridge, connects its signal here and the bridge to the publisher with `filters`,
    // and publishes "<warmType>: warm" until one arrives.
    void startBridge(std::vector<std::string> const& filters, std::string const& warmType)
    {
        ASSERT_EQ(create("QtBridge", "q"), "Success");
        auto* const bridge = qobject_cast<zel::QtBridge*>(zel::QtRepository::getQObject(repositoryKey("g", "q")));
        ASSERT_NE(bridge, nullptr);
        QObject::connect(
            bridge, &zel::QtBridge::si_message, &receiver,
            [this](QByteArray const& type, QByteArray const& data) {
                received.push_back(type.toStdString() + ": " + data.toStdString());
                if (QThread::currentThread() != receiver.thread())
                    onReceiverThread = false;
            },
            Qt::QueuedConnection);
        ASSERT_EQ(connect("q", publisher.address, filters), "Success");
        ASSERT_TRUE(publisher.sendUntil(warmType, "warm", [&] { return !received.empty(); }));
    }

    // What arrived after the warm-ups, each message once where it came several times in a row.
    std::vector<std::string> messages() const
    {
        std::vector<std::string> found;
        for (std::string const& message : received) {
            bool const warmUp = message.size() >= 6 && message.compare(message.size() - 6, 6, ": warm") == 0;
            if (!warmUp && (found.empty() || found.back() != message))
                found.push_back(message);
        }
        return found;
    }

    bool has(std::string const& message) const
    {
        return std::find(received.begin(), received.end(), message) != received.end();
    }

    bool waitFor(std::string const& message)
    {
        return zeltest::waitUntil([&] { return has(message); });
    }

    QObject receiver; // lives on this thread
    std::vector<std::string> received;
    bool onReceiverThread = true;
    Publisher publisher;
};

} // namespace

TEST_F(QtBridgeTest, TheRepositoryHoldsEachBridgeFromCreateToDelete)
{
    ASSERT_EQ(createGroup("h"), "Success");
    QString const inG = repositoryKey("g", "q");
    QString const inH = repositoryKey("h", "q");
    EXPECT_TRUE(zel::QtRepository::getQObject(inG).isNull());

    // The entry is there when the Create is answered; the same name in two groups gives two keys.
    ASSERT_EQ(create("QtBridge", "q"), "Success");
    ASSERT_EQ(create("base.QtBridge", "q", {}, "h"), "Success");
    QPointer<QObject> const first = zel::QtRepository::getQObject(inG);
    QPointer<QObject> const second = zel::QtRepository::getQObject(inH);
    EXPECT_NE(inG, inH);
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
    startBridge({ "a" }, "a");

    publisher.send("a", "payload");
    publisher.sendTypeOnly("a");
    publisher.send("b", "not subscribed");
    publisher.send("a", "end");
    ASSERT_TRUE(waitFor("a: end"));
    EXPECT_EQ(messages(), (std::vector<std::string> { "a: payload", "a: ", "a: end" }));
    EXPECT_TRUE(onReceiverThread);
}

TEST_F(QtBridgeTest, AStopWithoutNameLeavesTheCatchAllSubscription)
{
    startBridge({}, "x");

    EXPECT_EQ(stop("q", ""), "Success");
    EXPECT_EQ(stop("q", "x"), "Success");
    publisher.send("x", "1");
    publisher.send("y", "2");
    ASSERT_TRUE(waitFor("y: 2"));
    EXPECT_EQ(messages(), (std::vector<std::string> { "x: 1", "y: 2" }));
}

TEST_F(QtBridgeTest, StartAndStopActOnTheListedFilters)
{
    startBridge({ "a", "b" }, "a");

    EXPECT_EQ(stop("q", "a"), "Success");
    publisher.send("a", "1");
    publisher.send("b", "1");
    ASSERT_TRUE(waitFor("b: 1"));

    // A Start without a name brings back every filter ever listed.
    EXPECT_EQ(start("q", ""), "Success");
    ASSERT_TRUE(publisher.sendUntil("a", "2", [&] { return has("a: 2"); }));
    publisher.send("b", "2");
    ASSERT_TRUE(waitFor("b: 2")); // nothing sent before is still on its way

    EXPECT_EQ(stop("q", ""), "Success");
    publisher.send("a", "3");
    publisher.send("b", "3");
    // Nothing is subscribed now, so no later message could show that these were dropped: a short
    // wait has to do.
    size_t const before = received.size();
    EXPECT_FALSE(zeltest::waitUntil([&] { return received.size() > before; }, 300ms));
    EXPECT_EQ(messages(), (std::vector<std::string> { "b: 1", "a: 2", "b: 2" }));
}

TEST_F(QtBridgeTest, RefusesParameterRequests)
{
    ASSERT_EQ(create("QtBridge", "q"), "Success");
    EXPECT_EQ(ask("q", Helper::makeSetParameterMessage("rate", "1")), "Error: Cannot set parameter: rate");
    EXPECT_EQ(ask("q", Helper::makeGetParameterMessage("rate")), "Error: Cannot get parameter: rate");
}

TEST(BasePluginTest, MakesBothBridgesByBareAndDottedTypeAndNothingElse)
{
    zel::BasePlugin plugin;
    auto const make = [&](std::string const& type) {
        return std::unique_ptr<zel::ProcessorBase>(
            plugin.createProcessor(zel::ProcessorInfo({}, type, "p", "G", zel::internalAddressPrefixDefault)));
    };

    EXPECT_NE(dynamic_cast<zel::QtBridge*>(make("QtBridge").get()), nullptr);
    EXPECT_NE(dynamic_cast<zel::QtBridge*>(make("base.QtBridge").get()), nullptr);
    EXPECT_NE(dynamic_cast<zel::HttpBridge*>(make("HttpBridge").get()), nullptr);
    EXPECT_NE(dynamic_cast<zel::HttpBridge*>(make("base.HttpBridge").get()), nullptr);
    for (std::string const type : { "qtbridge", "httpbridge", "base.qtbridge", "base.HTTPBRIDGE", "Bridge", "" })
        EXPECT_EQ(make(type), nullptr) << type;
}
