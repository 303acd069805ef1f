#include "support/rawpeers.h"
#include "support/tracecapture.h"

#include <zel/zmqhelper.h>

#include <gtest/gtest.h>

#include <QString>

#include <chrono>
#include <future>
#include <thread>

using zel::ZmqHelper;

namespace {

using Clock = std::chrono::steady_clock;

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

TEST(ZmqHelperBind, AddressInUseIsTriedFiveTimesAndTracedOnce)
{
    zeltest::TraceCapture traces;
    std::string const taken = "inproc://zmqhelper-test-taken";
    zmq::socket_t holder = zeltest::makeSocket(zmq::socket_type::pull);
    holder.bind(taken);

    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::pull);
    std::string address = taken;
    auto const start = Clock::now();
    EXPECT_EQ(bindError(socket, address), EADDRINUSE);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(400)) << "four pauses between five attempts";
    ASSERT_EQ(traces.count(), 1);
    EXPECT_EQ(traces.texts()[0],
        QStringLiteral("bindSocket() for \"%1\" failed: %2")
            .arg(QString::fromStdString(taken), QString::fromUtf8(zmq_strerror(EADDRINUSE))));
    EXPECT_EQ(traces.files()[0], QStringLiteral("impl/zmqhelper"));
}

TEST(ZmqHelperBind, AddressFreedDuringThePausesBindsWithoutTrace)
{
    zeltest::TraceCapture traces;
    std::string const address = "inproc://zmqhelper-test-freed";
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
    EXPECT_EQ(bindError(socket, bound), 0);
    holder.join();
    EXPECT_EQ(traces.count(), 0);
}

// The trace of this failure with the failure bit on is zelhost's own test.
TEST(ZmqHelperBind, OtherErrorsAreNotRetriedAndTracedOnlyWithTheFailureBit)
{
    zeltest::TraceCapture traces(0x40);
    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::pull);
    std::string address = "nosuchprotocol://somewhere";
    auto const start = Clock::now();
    EXPECT_EQ(bindError(socket, address), EPROTONOSUPPORT);
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(350)) << "the retries would take 400 ms";
    EXPECT_EQ(traces.count(), 0);
}
