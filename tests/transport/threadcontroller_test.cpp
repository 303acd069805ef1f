#include "support/rawpeers.h"

#include <zel/zmqcontroller.h>
#include <zel/zmqthreadcontroller.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>

using Record = zelmsg::ControlMessage;

namespace {

// waitForThread blocks without limit; a lost report must not hang the run, so end the program.
bool waitWithDeadline(zel::ZmqThreadController& controller)
{
    auto result = std::async(std::launch::async, [&controller] { return controller.waitForThread(); });
    if (result.wait_for(zeltest::defaultDeadline) != std::future_status::ready) {
        std::fputs("waitForThread did not return within the deadline\n", stderr);
        std::abort();
    }
    return result.get();
}

std::string report(Record::MessageType type, Record::ResultType result)
{
    Record record;
    record.SetMessageType(type);
    record.SetResultType(result);
    return record.GetXmlString().toUtf8().toStdString();
}

} // namespace

TEST(ZmqThreadController, HandShakeReportsTheThreadsResult)
{
    for (bool const ready : { true, false }) {
        zel::ZmqThreadController controller;
        std::thread worker([copy = controller, ready]() mutable {
            EXPECT_TRUE(ready ? copy.signalReady() : copy.signalError()) << "the report went";
        });
        EXPECT_EQ(waitWithDeadline(controller), ready);
        worker.join();
    }
}

TEST(ZmqThreadController, OnlyCreatedWithSuccessCountsAsReady)
{
    zel::ZmqThreadController controller;
    zmq::socket_t thread = zeltest::makeSocket(zmq::socket_type::pair);
    thread.connect(zel::ZmqControllerSupport::makeUniqueAddress(&controller));
    std::vector<std::pair<std::string, bool>> const reports {
        { report(Record::Start, Record::Success), false },
        { report(Record::Created, Record::Warning), false },
        { "not a record", false },
        { report(Record::Created, Record::Success), true },
    };
    for (auto const& [frame, ready] : reports) {
        SCOPED_TRACE(frame);
        zeltest::sendFrames(thread, { frame });
        EXPECT_EQ(waitWithDeadline(controller), ready);
    }
}
