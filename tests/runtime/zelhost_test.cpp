#include "support/rawpeers.h"
#include "support/zelhostprocess.h"

#include <gtest/gtest.h>

#include <QTcpSocket>

#include <csignal>

using zeltest::ZelhostProcess;

namespace {

class ZelhostStop : public testing::TestWithParam<int>
{
};

} // namespace

TEST_P(ZelhostStop, ReadyAtTheConfiguredAddressThenStopsCleanly)
{
    QString const address = QStringLiteral("tcp://127.0.0.1:%1").arg(zeltest::freeLoopbackPort());
    ZelhostProcess host(QStringLiteral("EnvironmentAddress=%1\n").arg(address));
    ASSERT_TRUE(host.start()) << "cannot run " ZEL_BIN_DIR "/zelhost";
    ASSERT_EQ(host.waitForFirstLine(), QStringLiteral("zelhost: ready at ") + address)
        << qPrintable(host.standardError());

    // The router's frontend listens there.
    QTcpSocket probe;
    probe.connectToHost(
        QStringLiteral("127.0.0.1"), static_cast<quint16>(address.section(QLatin1Char(':'), -1).toUInt()));
    EXPECT_TRUE(probe.waitForConnected(10000));
    probe.abort();

    host.sendSignal(GetParam());
    ASSERT_TRUE(host.waitForExit());
    EXPECT_EQ(host.process().exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(host.process().exitCode(), 0);
    EXPECT_EQ(host.standardError(), QString());
}

INSTANTIATE_TEST_SUITE_P(Signals, ZelhostStop, testing::Values(SIGTERM, SIGINT));

TEST(Zelhost, UnbindableAddressExitsOneWithTheReason)
{
    ZelhostProcess host(QStringLiteral("EnvironmentAddress=nosuchprotocol://frontend\n"));
    ASSERT_TRUE(host.start()) << "cannot run " ZEL_BIN_DIR "/zelhost";
    ASSERT_TRUE(host.waitForExit());
    EXPECT_EQ(host.process().exitCode(), 1);
    QString const errors = host.standardError();
    EXPECT_TRUE(errors.startsWith(QStringLiteral("zelhost: the environment did not start: "))) << qPrintable(errors);
    EXPECT_TRUE(errors.contains(QStringLiteral("bindSocket() for \"nosuchprotocol://frontend\" failed")))
        << qPrintable(errors);
    EXPECT_TRUE(host.process().readAllStandardOutput().isEmpty());
}

TEST(Zelhost, MissingConfigurationExitsOne)
{
    ZelhostProcess host(QString {});
    ASSERT_TRUE(host.start()) << "cannot run " ZEL_BIN_DIR "/zelhost";
    ASSERT_TRUE(host.waitForExit());
    EXPECT_EQ(host.process().exitCode(), 1);
    EXPECT_TRUE(host.standardError().contains(QStringLiteral("no configuration zeltest.ini")))
        << qPrintable(host.standardError());
}
