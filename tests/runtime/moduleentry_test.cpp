#include "support/rawpeers.h"
#include "support/tracecapture.h"

#include <zel/environmentdll.h>
#include <zel/loadinterface.h>

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

namespace {

// Configurations in a folder of their own; each test leaves no environment behind.
class ModuleEntry : public testing::Test
{
protected:
    ModuleEntry() { qputenv("ZEL_CONFIG_DIR", dir.path().toUtf8()); }

    void TearDown() override
    {
        instance.reset();
        qunsetenv("ZEL_CONFIG_DIR");
        EXPECT_TRUE(zeltest::waitForNoRouter());
    }

    void writeConfiguration(QByteArray const& content)
    {
        QFile file(dir.filePath(QStringLiteral("zeltest.ini")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(content);
    }

    void expectExecuteFails()
    {
        zeltest::TraceCapture traces;
        EXPECT_FALSE(instance->Execute());
        ASSERT_FALSE(traces.texts().isEmpty());
        EXPECT_EQ(traces.texts().last(), QStringLiteral("Caught unknown exception in EnvironmentDll::Execute"));
    }

    QTemporaryDir dir;
    std::unique_ptr<zel::IDllInstance, HXDestroyFunction> instance { HXCreate(L"zeltest"), HXDestroy };
};

} // namespace

TEST_F(ModuleEntry, CreateStartsNothingAndWithoutConfigurationNeitherDoesExecute)
{
    HXDestroy(nullptr);
    ASSERT_TRUE(instance);
    EXPECT_EQ(instance->getInstanceName(), QStringLiteral("zeltest"));
    EXPECT_TRUE(zeltest::internalRouterEndpointFree());

    zeltest::TraceCapture traces;
    EXPECT_FALSE(instance->Execute());
    EXPECT_EQ(traces.texts(), QStringList { QStringLiteral("Invalid configuration of EnvironmentDll") });
    EXPECT_TRUE(zeltest::internalRouterEndpointFree());
}

TEST_F(ModuleEntry, ExecuteMayBeRetriedAfterAFailureOrShutdownButNotWhileRunning)
{
    writeConfiguration("EnvironmentAddress=nosuchprotocol://frontend\n");
    expectExecuteFails();
    EXPECT_TRUE(zeltest::waitForNoRouter());

    // Of another length: the configuration reader keeps a file whose size and time stamp are unchanged.
    std::string const address = "tcp://127.0.0.1:" + std::to_string(zeltest::freeLoopbackPort());
    writeConfiguration("EnvironmentAddress=" + QByteArray::fromStdString(address) + "\n");
    {
        zeltest::TraceCapture traces;
        EXPECT_FALSE(instance->Execute());
        EXPECT_EQ(traces.count(), 0);
    }
    EXPECT_TRUE(zeltest::roundTrip(address, "inproc://zel/g1"));
    instance->Shutdown();
    EXPECT_TRUE(zeltest::waitForNoRouter());
    instance->Shutdown();

    // Without the key the frontend is the default inproc address.
    writeConfiguration("Unrelated=1\n");
    EXPECT_FALSE(instance->Execute());
    EXPECT_TRUE(zeltest::roundTrip("inproc://zel/__router__external__", "inproc://zel/g1"));

    writeConfiguration("EnvironmentAddress=inproc://moduleentry-test-other\n");
    expectExecuteFails();
    // The first environment is left running; HXDestroy without Shutdown stops it.
    EXPECT_TRUE(zeltest::roundTrip("inproc://zel/__router__external__", "inproc://zel/g1"));
}
