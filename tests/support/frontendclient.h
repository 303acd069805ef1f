#pragma once

#include "rawpeers.h"

#include <zel/endpoints.h>
#include <zel/zelmsg/controlmessage.h>

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>

namespace zeltest {

inline std::string const internalPrefix = zel::internalAddressPrefixDefault;

// Routing identities with the system's prefix: the group manager, a group, its name service, and a
// processor of a group.
inline std::string managerIdentity() { return zel::Endpoints::getGroupManagerEndpoint(internalPrefix); }
inline std::string groupIdentity(std::string const& group)
{
    return zel::Endpoints::getGroupEndpoint(group, internalPrefix);
}
inline std::string nameServiceIdentity(std::string const& group)
{
    return zel::Endpoints::getNameServiceEndpoint(group, internalPrefix);
}
inline std::string processorIdentity(std::string const& group, std::string const& processor)
{
    return zel::Endpoints::getProcessorEndpoint(group, processor, internalPrefix);
}

// A client at the frontend of a running Environment, as a program outside would be: a DEALER that
// sends empty, the target's identity with its NUL, and the record's XML; the answer comes back as
// empty, the answering identity, the reply's XML. Belongs to the thread that made it.
class FrontendClient
{
public:
    struct Reply
    {
        std::string source; // the answering identity, without its NUL
        zelmsg::ControlMessage record;
    };

    explicit FrontendClient(std::string const& frontendAddress);

    // One exchange: the reply of `identity`, or nothing when none came within the deadline. A reply
    // from anyone else is a test failure.
    std::optional<zelmsg::ControlMessage> request(std::string const& identity, zelmsg::ControlMessage const& record,
        std::chrono::milliseconds deadline = defaultDeadline);
    // The same with a payload of any bytes in place of a record.
    std::optional<zelmsg::ControlMessage> requestRaw(
        std::string const& identity, std::string const& payload, std::chrono::milliseconds deadline = defaultDeadline);

    void send(std::string const& identity, zelmsg::ControlMessage const& record);
    void sendRaw(std::string const& identity, std::string const& payload);
    // The next message, whoever sent it; nothing when none came within the deadline. Serves Qt
    // events meanwhile: a server on this thread may have to answer a processor first.
    std::optional<Reply> receive(std::chrono::milliseconds deadline = defaultDeadline);

private:
    std::optional<zelmsg::ControlMessage> replyFrom(std::string const& identity, std::chrono::milliseconds deadline);

    zmq::socket_t socket;
};

// Whether a fresh client at `frontendAddress` gets a QueryGroups answered: the host still serves
// after whatever another client did.
testing::AssertionResult hostServes(std::string const& frontendAddress);

// A reply in one line, for comparisons: "Success", "Success: <Parameter>" when the reply carries a
// Parameter, "Error: <MessageText>", "Warning: <MessageText>", "no result", "no reply".
std::string outcome(std::optional<zelmsg::ControlMessage> const& reply);

} // namespace zeltest
