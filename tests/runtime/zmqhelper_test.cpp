#include "support/rawpeers.h"
#include "support/tracecapture.h"

#include <zel/zmqhelper.h>

#include <gtest/gtest.h>

#include <QString>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

using zel::ZmqHelper;

namespace {

using Clock = std::chrono::steady_clock;

std::string uniqueAddress()
{
    static std::atomic<int> next { 0 };
    return "inproc://zmqhelper-test-" + std::to_string(next++);
}

// Binds and returns the error, or 0 when the bind succeeded.
int bindError(zmq::socket_t& socket, std::string& address)
{
    try {
        ZmqHelper::bindSocket(socket, address);
        return 0;
    } catch (zmq::error_t const& e) {
        return e.num();
    }
}

} // namespace

TEST(ZmqHelperBind, WildcardPortComesBackConcrete)
{
    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::router);
    std::string address = "tcp://127.0.0.1:*";
    ZmqHelper::bindSocket(socket, address);
    ASSERT_EQ(address.rfind("tcp://127.0.0.1:", 0), 0u) << address;
    int const port = std::stoi(address.substr(std::string("tcp://127.0.0.1:").size()));
    EXPECT_GT(port, 0);

    // And it is where the socket listens.
    zmq::socket_t peer = zeltest::makeSocket(zmq::socket_type::dealer);
    peer.connect(address);
    zeltest::sendFrames(peer, { "hello" });
    auto const received = zeltest::receiveFrames(socket);
    ASSERT_TRUE(received);
    EXPECT_EQ(received->back(), "hello");
}

TEST(ZmqHelperBind, QStringFormWritesTheEndpointBack)
{
    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::pull);
    QString address = QStringLiteral("tcp://127.0.0.1:*");
    ZmqHelper::bindSocket(socket, address);
    EXPECT_TRUE(address.startsWith(QStringLiteral("tcp://127.0.0.1:")));
    EXPECT_FALSE(address.endsWith(QLatin1Char('*')));
}

TEST(ZmqHelperBind, AddressInUseIsTriedFiveTimesAndTracedOnce)
{
    zeltest::TraceCapture traces;
    std::string const taken = uniqueAddress();
    zmq::socket_t holder = zeltest::makeSocket(zmq::socket_type::pull);
    holder.bind(taken);

    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::pull);
    std::string address = taken;
    auto const start = Clock::now();
    EXPECT_EQ(bindError(socket, address), EADDRINUSE);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(400)) << "four pauses between five attempts";
    EXPECT_EQ(address, taken) << "unchanged on failure";
    ASSERT_EQ(traces.count(), 1);
    EXPECT_EQ(traces.texts()[0],
        QStringLiteral("bindSocket() for \"%1\" failed: %2")
            .arg(QString::fromStdString(taken), QString::fromUtf8(zmq_strerror(EADDRINUSE))));
    EXPECT_EQ(traces.files()[0], QStringLiteral("impl/zmqhelper"));
}

TEST(ZmqHelperBind, AddressFreedDuringThePausesBindsWithoutTrace)
{
    zeltest::TraceCapture traces;
    std::string const address = uniqueAddress();
    std::promise<void> held;
    // The holder lets go 150 ms in, well inside the 400 ms that the retries cover.
    std::thread holder([&] {
        zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::pull);
        socket.bind(address);
        held.set_value();
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        socket.unbind(address);
    });
    held.get_future().wait();

    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::pull);
    std::string bound = address;
    auto const start = Clock::now();
    EXPECT_EQ(bindError(socket, bound), 0);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(100)) << "bound only after a pause";
    holder.join();
    EXPECT_EQ(bound, address);
    EXPECT_EQ(traces.count(), 0);
}

TEST(ZmqHelperBind, OtherErrorsFailAtTheFirstAttempt)
{
    zeltest::TraceCapture traces;
    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::pull);
    std::string address = "nosuchprotocol://somewhere";
    auto const start = Clock::now();
    EXPECT_EQ(bindError(socket, address), EPROTONOSUPPORT);
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(100)) << "no pause";
    EXPECT_EQ(address, "nosuchprotocol://somewhere");
    EXPECT_EQ(traces.count(), 1);
}

TEST(ZmqHelperBind, NoTraceWithoutTheFailureBit)
{
    zeltest::TraceCapture traces(0x40);
    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::pull);
    std::string address = "nosuchprotocol://somewhere";
    EXPECT_EQ(bindError(socket, address), EPROTONOSUPPORT);
    EXPECT_EQ(traces.count(), 0);
}

TEST(ZmqHelperConnect, IdentityOfAThreeLetterNameIsFourBytes)
{
    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::dealer);
    ZmqHelper::connectSocket(socket, uniqueAddress(), "abc");
    EXPECT_EQ(socket.get(zmq::sockopt::routing_id), zeltest::withNul("abc"));
}

TEST(ZmqHelperConnect, FailuresAreZeroMqErrorsWithoutTrace)
{
    zeltest::TraceCapture traces;
    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::dealer);
    EXPECT_THROW(ZmqHelper::connectSocket(socket, "nosuchprotocol://x"), zmq::error_t);
    EXPECT_THROW(ZmqHelper::connectSocket(socket, "nosuchprotocol://x", "abc"), zmq::error_t);
    EXPECT_EQ(traces.count(), 0);
}
