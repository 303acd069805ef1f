#pragma once

#include "support/controlclient.h"
#include "support/polling.h"
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

// Readable QStrings in failure messages.
inline void PrintTo(QString const& text, std::ostream* os) { *os << '"' << text.toStdString() << '"'; }

namespace brtest {

using namespace std::chrono_literals;
using Helper = zel::ControlMessageHelper;
using Record = zelmsg::ControlMessage;
using zeltest::outcome;

inline std::string const mainGroup = "g";

// The source of a stream, as another processor would be: a PUB on loopback TCP that sends type and
// data frames.
class Publisher
{
public:
    Publisher()
    {
        socket.bind("tcp://127.0.0.1:*");
        address = socket.get(zmq::sockopt::last_endpoint);
    }

    void send(std::string const& type, std::string const& data) { zeltest::sendFrames(socket, { type, data }); }
    // A message of the type frame alone.
    void sendTypeOnly(std::string const& type) { zeltest::sendFrames(socket, { type }); }

    // A subscriber misses what is sent before its subscription has reached this socket, so the
    // message goes out again every few milliseconds until `arrived` holds.
    template <class Condition> bool sendUntil(std::string const& type, std::string const& data, Condition arrived)
    {
        auto next = std::chrono::steady_clock::now();
        return zeltest::waitUntil([&] {
            if (arrived())
                return true;
            auto const now = std::chrono::steady_clock::now();
            if (now >= next) {
                send(type, data);
                next = now + 25ms;
            }
            return false;
        });
    }

    std::string address;

private:
    zmq::socket_t socket = zeltest::makeSocket(zmq::socket_type::pub);
};

// The lines of `lines` that begin with `prefix`.
inline QStringList startingWith(QStringList const& lines, QString const& prefix)
{
    QStringList found;
    for (QString const& line : lines) {
        if (line.startsWith(prefix))
            found << line;
    }
    return found;
}

// A running Environment with the group "g", driven through its frontend as a client would.
class BridgeTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(createGroup(mainGroup), "Success"); }

    void TearDown() override
    {
        // Deleted while this thread serves events: an HTTP server here can end a POST in flight.
        if (environment) {
            for (auto const& [group, processor] : std::vector<std::pair<std::string, std::string>>(created))
                EXPECT_EQ(remove(processor, group), "Success") << group << "/" << processor;
        }
        client.reset();
        environment.reset();
        EXPECT_TRUE(zeltest::waitForNoRouter());
    }

    // One exchange. Qt events are served while the reply is awaited, since a server on this
    // thread may have to answer the processor first.
    std::optional<Record> request(std::string const& identity, Record const& record)
    {
        client->send(identity, record);
        std::optional<zeltest::ControlClient::Reply> reply;
        zeltest::waitUntil([&] {
            reply = client->receive(0ms);
            return reply.has_value();
        });
        if (!reply)
            return std::nullopt;
        EXPECT_EQ(reply->source, identity);
        return reply->record;
    }

    std::string createGroup(std::string const& group)
    {
        return outcome(request(zeltest::managerIdentity(), Helper::makeCreateProcessorGroupMessage(group)));
    }

    std::string create(std::string const& type, std::string const& name, zelmsg::Processor const& config = {},
        std::string const& group = mainGroup)
    {
        std::string const result
            = outcome(request(zeltest::groupIdentity(group), Helper::makeCreateProcessorMessage(type, name, config)));
        if (result == "Success")
            created.emplace_back(group, name);
        return result;
    }

    std::string remove(std::string const& name, std::string const& group = mainGroup)
    {
        std::string const result
            = outcome(request(zeltest::groupIdentity(group), Helper::makeDeleteProcessorMessage(name)));
        created.erase(std::remove(created.begin(), created.end(), std::make_pair(group, name)), created.end());
        return result;
    }

    std::string ask(std::string const& processor, Record const& record)
    {
        return outcome(request(zeltest::processorIdentity(mainGroup, processor), record));
    }

    std::string connect(
        std::string const& processor, std::string const& address, std::vector<std::string> const& filters)
    {
        return ask(processor, Helper::makeConnectStreamMessage("in", address, filters));
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
};

} // namespace brtest
