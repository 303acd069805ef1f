#pragma once

#include "labplugin.h"

#include "support/controlclient.h"

#include <zel/controlmessagehelper.h>
#include <zel/environment.h>
#include <zel/pluginmanager.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

namespace cptest {

using Helper = zel::ControlMessageHelper;
using Record = zelmsg::ControlMessage;
using zeltest::outcome;

// A running Environment whose plug-in manager knows the lab plug-in, and a client at its frontend.
// One Environment per process at a time: each test's is gone, router and all, before the next.
class ControlPlaneTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(plugins->registerPlugin(&lab));
        environment = std::make_unique<zel::Environment>(plugins, zel::routerFrontendAddressDefault);
        client = std::make_unique<zeltest::ControlClient>(environment->getRouterFrontendAddress());
    }

    void TearDown() override
    {
        client.reset();
        environment.reset();
        EXPECT_TRUE(zeltest::waitForNoRouter());
    }

    std::optional<Record> toManager(Record const& record)
    {
        return client->request(zeltest::managerIdentity(), record);
    }
    std::optional<Record> toGroup(std::string const& group, Record const& record)
    {
        return client->request(zeltest::groupIdentity(group), record);
    }
    std::optional<Record> toProcessor(std::string const& group, std::string const& processor, Record const& record)
    {
        return client->request(zeltest::processorIdentity(group, processor), record);
    }

    std::string createGroup(std::string const& group)
    {
        return outcome(toManager(Helper::makeCreateProcessorGroupMessage(group)));
    }
    std::string createProcessor(std::string const& group, std::string const& name,
        std::string const& type = "lab.Recorder", zelmsg::Processor const& config = {})
    {
        return outcome(toGroup(group, Helper::makeCreateProcessorMessage(type, name, config)));
    }
    // A lab processor of the given behaviour, made in `group`; its journal.
    std::shared_ptr<Journal> makeRecorder(std::string const& group, std::string const& name, Behaviour behaviour = {})
    {
        auto journal = lab.prepare(name, std::move(behaviour));
        EXPECT_EQ(createProcessor(group, name), "Success") << name;
        return journal;
    }
    std::string queryProcessors(std::string const& group)
    {
        return outcome(toGroup(group, Helper::makeQueryProcessorsMessage()));
    }

    LabPlugin lab; // outlives the plug-in manager, which does not own it
    std::shared_ptr<zel::PluginManager> plugins = std::make_shared<zel::PluginManager>();
    std::unique_ptr<zel::Environment> environment;
    std::unique_ptr<zeltest::ControlClient> client;
};

} // namespace cptest
