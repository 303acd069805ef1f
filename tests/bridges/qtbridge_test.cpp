#include "bridgetest.h"

#include <zel/endpoints.h>
#include <zel/qtbridge.h>
#include <zel/qtrepository.h>

#include <QObject>
#include <QPointer>
#include <QThread>

#include <string>
#include <vector>

using namespace brtest;

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
    EXPECT_NE(inG, inH);

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
    EXPECT_EQ(stop("q", ""), "Success");
    EXPECT_EQ(stop("q", "a"), "Success");
    publisher.send("a", "payload");
    publisher.send({ "a" }); // the type frame alone
    publisher.send("b", "end");
    ASSERT_TRUE(waitFor(3));
    EXPECT_EQ(received, (std::vector<std::string> { "a: payload", "a: ", "b: end" }));
    EXPECT_TRUE(onReceiverThread);
}
