#include "environmenttest.h"

namespace zeltest {

void EnvironmentTest::SetUp()
{
    environment = std::make_unique<zel::Environment>(plugins, zel::routerFrontendAddressDefault);
    client = std::make_unique<ControlClient>(environment->getRouterFrontendAddress());
    ASSERT_EQ(createGroup("g"), "Success");
}

void EnvironmentTest::TearDown()
{
    client.reset();
    environment.reset();
    EXPECT_TRUE(waitForNoRouter());
}

std::string EnvironmentTest::toManager(Record const& record)
{
    return outcome(client->request(managerIdentity(), record));
}

std::string EnvironmentTest::toGroup(Record const& record, std::string const& group)
{
    return outcome(client->request(groupIdentity(group), record));
}

std::string EnvironmentTest::ask(std::string const& processor, Record const& record)
{
    return outcome(client->request(processorIdentity("g", processor), record));
}

std::string EnvironmentTest::createGroup(std::string const& group)
{
    return toManager(Helper::makeCreateProcessorGroupMessage(group));
}

std::string EnvironmentTest::create(
    std::string const& name, std::string const& type, zelmsg::Processor const& config, std::string const& group)
{
    return toGroup(Helper::makeCreateProcessorMessage(type, name, config), group);
}

std::string EnvironmentTest::remove(std::string const& name)
{
    return toGroup(Helper::makeDeleteProcessorMessage(name));
}

} // namespace zeltest
