#pragma once

#include "frontendclient.h"

#include <zel/controlmessagehelper.h>
#include <zel/environment.h>
#include <zel/pluginmanager.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace zeltest {

using Helper = zel::ControlMessageHelper;
using Record = zelmsg::ControlMessage;

// A running Environment with the group "g", driven through its frontend as a client outside would.
// One Environment per process at a time: each test's is gone before the next begins.
class EnvironmentTest : public testing::Test
{
protected:
    // Plug-ins of the test are registered before this runs.
    void SetUp() override
    {
        environment = std::make_unique<zel::Environment>(plugins, zel::routerFrontendAddressDefault);
        client = std::make_unique<FrontendClient>(environment->getRouterFrontendAddress());
        ASSERT_EQ(createGroup("g"), "Success");
    }

    void TearDown() override
    {
        client.reset();
        environment.reset();
        plugins.reset(); // before the plug-ins that the test registered
        EXPECT_TRUE(waitForNoRouter());
    }

    // One exchange each, in the words of outcome().
    std::string toManager(Record const& record) { return outcome(client->request(managerIdentity(), record)); }
    std::string toGroup(Record const& record, std::string const& group = "g")
    {
        return outcome(client->request(groupIdentity(group), record));
    }
    std::string ask(std::string const& processor, Record const& record)
    {
        return outcome(client->request(processorIdentity("g", processor), record));
    }
    std::string createGroup(std::string const& group)
    {
        return toManager(Helper::makeCreateProcessorGroupMessage(group));
    }
    std::string create(std::string const& name, std::string const& type, zelmsg::Processor const& config = {},
        std::string const& group = "g")
    {
        return toGroup(Helper::makeCreateProcessorMessage(type, name, config), group);
    }
    std::string remove(std::string const& name) { return toGroup(Helper::makeDeleteProcessorMessage(name)); }

    std::shared_ptr<zel::PluginManager> plugins = std::make_shared<zel::PluginManager>();
    std::unique_ptr<zel::Environment> environment;
    std::unique_ptr<FrontendClient> client;
};

} // namespace zeltest
