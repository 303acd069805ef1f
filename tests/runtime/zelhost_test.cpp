#include "support/rawpeers.h"
#include "support/zelhostprocess.h"

#include <gtest/gtest.h>

#include <zel/version.h>

#include <QTcpSocket>

#include <csignal>

using zeltest::ZelhostProcess;

TEST(Zelhost, ReadyAtTheConfiguredAddressThenSigtermExitsZero)
{
    int const port = zeltest::freeLoopbackPort();
    QString const address = QStringLiteral("tcp://127.0.0.1:%1").arg(port);
    ZelhostProcess host(QStringLiteral("EnvironmentAddress=%1\n").arg(address));
    ASSERT_TRUE(host.start()) << "cannot run " ZEL_BIN_DIR "/zelhost";
    ASSERT_EQ(host.waitForFirstLine(), QStringLiteral("zelhost: ready at ") + address)
        << qPrintable(host.standardError());

    QTcpSocket probe;
    probe.connectToHost(QStringLiteral("127.0.0.1"), static_cast<quint16>(port));
    EXPECT_TRUE(probe.waitForConnected(10000)) << "the router's frontend listens there";
    probe.abort();

    host.sendSignal(SIGTERM);
    ASSERT_TRUE(host.waitForExit());
    EXPECT_EQ(host.process().exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(host.process().exitCode(), 0);
    EXPECT_EQ(host.standardError(), QString());
}

TEST(Zelhost, BadOrMissingConfigurationExitsOneWithTheReason)
{
    std::pair<QString, QStringList> const cases[] = {
        { QStringLiteral("EnvironmentAddress=nosuchprotocol://frontend\n"),
            { QStringLiteral("zelhost: the environment did not start: "),
                QStringLiteral("bindSocket() for \"nosuchprotocol://frontend\" failed") } },
        { QString {}, { QStringLiteral("no configuration zeltest.ini") } },
    };
    for (auto const& [ini, reasons] : cases) {
        ZelhostProcess host(ini);
        ASSERT_TRUE(host.start()) << "cannot run " ZEL_BIN_DIR "/zelhost";
        ASSERT_TRUE(host.waitForExit());
        EXPECT_EQ(host.process().exitCode(), 1);
        for (QString const& reason : reasons)
            EXPECT_TRUE(host.standardError().contains(reason)) << qPrintable(host.standardError());
        EXPECT_TRUE(host.process().readAllStandardOutput().isEmpty());
    }
}

TEST(Zelhost, ToolsExplainThemselvesAndExitZero)
{
    std::pair<QStringList, QStringList> const cases[] = {
        { { "zelhost", "--help" },
            { "usage: zelhost", "ZEL_CONFIG_DIR", "EnvironmentAddress", "ZEL_TRACE_FLAGS", "ZEL_PLUGIN_PATH" } },
        { { "zelhost", "--version" }, { "zelhost " ZEL_VERSION_STRING "\n" } },
        { { "zelctl", "--version" }, { "zelctl " ZEL_VERSION_STRING "\n" } },
        { { "zelsink", "--help" }, { "usage: zelsink" } },
    };
    for (auto const& [command, expected] : cases) {
        QProcess tool;
        tool.start(QStringLiteral(ZEL_BIN_DIR "/") + command.first(), command.mid(1));
        ASSERT_TRUE(tool.waitForFinished(10000)) << command.join(' ').toStdString();
        EXPECT_EQ(tool.exitCode(), 0) << command.join(' ').toStdString();
        QString const out = QString::fromUtf8(tool.readAllStandardOutput());
        for (QString const& text : expected)
            EXPECT_TRUE(out.contains(text)) << command.join(' ').toStdString() << ": " << out.toStdString();
    }
}
