#pragma once

#include "rawpeers.h"

#include <gtest/gtest.h>

#include <zel/zelmsg/controlmessage.h>

#include <chrono>
#include <optional>
#include <string>

namespace zeltest {

// A client at a zelhost's frontend that speaks the frames itself, so a test can send what no
// well-behaved client would: any payload bytes to any destination.
class RawClient
{
public:
    explicit RawClient(std::string const& frontendAddress);

    // Sends empty, destination (with its NUL), payload.
    void send(std::string const& destination, std::string const& payload);
    // The payload of the next reply, or nothing within the deadline.
    std::optional<std::string> receive(std::chrono::milliseconds deadline = defaultDeadline);
    // One raw request and its reply.
    std::optional<std::string> request(std::string const& destination, std::string const& payload,
        std::chrono::milliseconds deadline = defaultDeadline);
    // The record's XML as the request, the reply read back into a record.
    std::optional<zelmsg::ControlMessage> request(std::string const& destination, zelmsg::ControlMessage const& record,
        std::chrono::milliseconds deadline = defaultDeadline);

    // The group manager's and a group's and a processor's identity, without the NUL.
    static std::string groupManager();
    static std::string group(std::string const& groupName);
    static std::string processor(std::string const& groupName, std::string const& processorName);

private:
    zmq::socket_t socket;
};

// The record a reply payload holds.
zelmsg::ControlMessage readRecord(std::string const& payload);

// Whether a fresh client at `frontendAddress` gets its QueryGroups answered: the host still serves.
testing::AssertionResult hostServes(std::string const& frontendAddress);

} // namespace zeltest
