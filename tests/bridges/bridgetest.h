#pragma once

#include "support/controlclient.h"
#include "support/polling.h"
#include "support/printers.h"
#include "support/rawpeers.h"

#include <zel/controlmessagehelper.h>
#include <zel/environment.h>

#include <gtest/gtest.h>

#include <QString>
#include <QStringList>

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace brtest {

using namespace std::chrono_literals;
using Helper = zel::ControlMessageHelper;
using Record = zelmsg::ControlMessage;
using zeltest::outcome;

// The source of a stream, as another processor would be: a PUB on loopback TCP.
class Publisher
{
public:
    Publisher()
    {
        socket.bind("tcp://127.0.0.1:*");
        address = socket.get(zmq::sockopt::last_endpoint);
    }

    void send(std::vector<std::string> const& frames) { zeltest::sendFrames(socket, frames); }
    void send(std::string const& type, std::string const& data) { send({ type, data }); }

    // A subscriber misses what is sent before its subscription has reached this socket, so the
    // message goes out again every few milliseconds until `arrived` holds.
    template <class Condition> bool sendUntil(std::string const& type, std::string const& data, Condition arrived)
    {
        auto next = std::chrono::steady_clock::now();
        return zeltest::waitUntil([&] {
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
    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::pub);
};

// A running Environment with the group "g", driven through its frontend as a client would.
class BridgeTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(createGroup("g"), "Success"); }

    std::string createGroup(std::string const& group)
    {
        return request(zeltest::managerIdentity(), Helper::makeCreateProcessorGroupMessage(group));
    }

    void TearDown() override
    {
        // Deleted while this thread serves events: an HTTP server here can end a POST in flight.
        for (auto const& [group, processor] : std::vector<std::pair<std::string, std::string>>(created))
            EXPECT_EQ(remove(processor, group), "Success") << group << "/" << processor;
        client.reset();
        environment.reset();
        EXPECT_TRUE(zeltest::waitForNoRouter());
    }

    // One exchange. Qt events are served meanwhile, since a server on this thread may have to
    // answer the processor first.
    std::string request(std::string const& identity, Record const& record)
    {
        client->send(identity, record);
        std::optional<zeltest::ControlClient::Reply> reply;
        zeltest::waitUntil([&] { return (reply = client->receive(0ms)).has_value(); });
        return reply ? outcome(reply->record) : "no reply";
    }

    std::string create(std::string const& type, std::string const& name, zelmsg::Processor const& config = {},
        std::string const& group = "g")
    {
        std::string const result
            = request(zeltest::groupIdentity(group), Helper::makeCreateProcessorMessage(type, name, config));
        if (result == "Success")
            created.emplace_back(group, name);
        return result;
    }

    std::string remove(std::string const& name, std::string const& group = "g")
    {
        created.erase(std::remove(created.begin(), created.end(), std::make_pair(group, name)), created.end());
        return request(zeltest::groupIdentity(group), Helper::makeDeleteProcessorMessage(name));
    }

    std::string ask(std::string const& processor, Record const& record)
    {
        return request(zeltest::processorIdentity("g", processor), record);
    }

    std::string connect(std::string const& processor, std::vector<std::string> const& filters)
    {
        return ask(processor, Helper::makeConnectStreamMessage("in", publisher.address, filters));
    }

    std::string start(std::string const& processor, std::string const& stream)
    {
        return ask(processor, Helper::makeStartStreamMessage(stream));
    }
    std::string stop(std::string const& processor, std::string const& stream)
    {
        return ask(processor, Helper::makeStopStreamMessage(stream));
    }

    std::unique_ptr<zel::Environment> environment = std::make_unique<zel::Environment>();
    std::unique_ptr<zeltest::ControlClient> client
        = std::make_unique<zeltest::ControlClient>(environment->getRouterFrontendAddress());
    std::vector<std::pair<std::string, std::string>> created; // group and name of each live processor
    Publisher publisher;
};

} // namespace brtest
