#include "support/rawpeers.h"
#include "support/tracecapture.h"

#include <zel/environmentdll.h>
#include <zel/loadinterface.h>

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

namespace {

QString const executeFailed = QStringLiteral("Caught unknown exception in EnvironmentDll::Execute");

// Configurations in a folder of their own; each test leaves no environment behind.
class ModuleEntry : public testing::Test
{
protected:
    ModuleEntry() { qputenv("ZEL_CONFIG_DIR", dir.path().toUtf8()); }

    void TearDown() override
    {
        qunsetenv("ZEL_CONFIG_DIR");
        EXPECT_TRUE(zeltest::waitForNoRouter());
    }

    void writeConfiguration(QByteArray const& content, QString const& name = QStringLiteral("zeltest"))
    {
        QFile file(dir.filePath(name + QStringLiteral(".ini")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(content);
    }

    void configureAddress(std::string const& address)
    {
        writeConfiguration("EnvironmentAddress=" + QByteArray::fromStdString(address) + "\n");
    }

    QTemporaryDir dir;
};

struct InstanceDeleter
{
    void operator()(zel::IDllInstance* instance) const { HXDestroy(instance); }
};
using Instance = std::unique_ptr<zel::IDllInstance, InstanceDeleter>;

Instance create() { return Instance(HXCreate(L"zeltest")); }

} // namespace

TEST_F(ModuleEntry, CreateAndDestroyStartNothing)
{
    HXDestroy(nullptr);
    Instance instance = create();
    ASSERT_TRUE(instance);
    EXPECT_EQ(instance->getInstanceName(), QStringLiteral("zeltest"));
    EXPECT_TRUE(zeltest::internalRouterEndpointFree());
}

TEST_F(ModuleEntry, ExecuteIsFalseAndTheConfiguredFrontendAnswers)
{
    std::string const address = "tcp://127.0.0.1:" + std::to_string(zeltest::freeLoopbackPort());
    configureAddress(address);
    Instance instance = create();
    zeltest::TraceCapture traces;
    EXPECT_FALSE(instance->Execute());
    EXPECT_EQ(traces.count(), 0);
    EXPECT_TRUE(zeltest::roundTrip(address, "inproc://zel/g1"));
    instance->Shutdown();
}

TEST_F(ModuleEntry, WithoutTheKeyTheFrontendIsTheDefaultInprocAddress)
{
    writeConfiguration("Unrelated=1\n");
    Instance instance = create();
    EXPECT_FALSE(instance->Execute());
    EXPECT_TRUE(zeltest::roundTrip("inproc://zel/__router__external__", "inproc://zel/g1"));
}

TEST_F(ModuleEntry, WithoutConfigurationNothingStarts)
{
    Instance instance = create();
    zeltest::TraceCapture traces;
    EXPECT_FALSE(instance->Execute());
    EXPECT_EQ(traces.texts(), QStringList { QStringLiteral("Invalid configuration of EnvironmentDll") });
    EXPECT_TRUE(zeltest::internalRouterEndpointFree());
}

TEST_F(ModuleEntry, ShutdownTwiceThenExecuteAgain)
{
    configureAddress("inproc://moduleentry-test");
    Instance instance = create();
    instance->Execute();
    EXPECT_TRUE(zeltest::roundTrip("inproc://moduleentry-test", "inproc://zel/g1"));
    instance->Shutdown();
    EXPECT_TRUE(zeltest::waitForNoRouter());
    instance->Shutdown();

    instance->Execute();
    EXPECT_TRUE(zeltest::roundTrip("inproc://moduleentry-test", "inproc://zel/g1"));
    // HXDestroy without Shutdown stops it; the fixture checks that nothing is left.
}

TEST_F(ModuleEntry, UnbindableAddressFailsAndExecuteMayBeTriedAgain)
{
    configureAddress("nosuchprotocol://frontend");
    Instance instance = create();
    {
        zeltest::TraceCapture traces;
        EXPECT_FALSE(instance->Execute());
        ASSERT_FALSE(traces.texts().isEmpty());
        EXPECT_EQ(traces.texts().last(), executeFailed);
    }
    EXPECT_TRUE(zeltest::waitForNoRouter());

    // Of another length: the configuration reader keeps a file whose size and time stamp are unchanged.
    configureAddress("inproc://moduleentry-test-fixed");
    EXPECT_FALSE(instance->Execute());
    EXPECT_TRUE(zeltest::roundTrip("inproc://moduleentry-test-fixed", "inproc://zel/g1"));
}

TEST_F(ModuleEntry, SecondExecuteWhileRunningLeavesTheFirstEnvironment)
{
    configureAddress("inproc://moduleentry-test");
    Instance instance = create();
    instance->Execute();
    configureAddress("inproc://moduleentry-test-other");
    {
        zeltest::TraceCapture traces;
        EXPECT_FALSE(instance->Execute());
        ASSERT_FALSE(traces.texts().isEmpty());
        EXPECT_EQ(traces.texts().last(), executeFailed);
    }
    EXPECT_TRUE(zeltest::roundTrip("inproc://moduleentry-test", "inproc://zel/g1"));
}
