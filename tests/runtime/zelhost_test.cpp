#include "support/controlclient.h"
#include "support/zelhostprocess.h"

#include <zel/controlmessagehelper.h>

#include <gtest/gtest.h>

#include <QProcessEnvironment>

#include <csignal>

using zeltest::ZelhostProcess;

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
        EXPECT_EQ(host.standardError().count(QLatin1Char('\n')), 1) << "the reason alone";
        EXPECT_TRUE(host.process().readAllStandardOutput().isEmpty());
    }
}

TEST(Zelhost, AConfigurationWithoutAKnownKeyIsNamedAndTheDefaultUsed)
{
    ZelhostProcess host(QStringLiteral("EnviromentAddress=tcp://127.0.0.1:5555\n"));
    ASSERT_TRUE(host.start());
    EXPECT_EQ(host.waitForFirstLine(), QStringLiteral("zelhost: ready at inproc://zel/__router__external__"));
    host.sendSignal(SIGTERM);
    ASSERT_TRUE(host.waitForExit());
    EXPECT_EQ(host.standardError(),
        "zelhost: warning: zeltest.ini has no key zelhost knows (EnvironmentAddress); unknown: EnviromentAddress\n");
}

TEST(Zelhost, UnreadableTraceFlagsKeepTheDefaultAFloodIsFoldedAndSigtermExitsZero)
{
    auto const host = ZelhostProcess::listeningAt();
    QProcessEnvironment env = host->process().processEnvironment();
    env.insert(QStringLiteral("ZEL_TRACE_FLAGS"), QStringLiteral("abc"));
    host->process().setProcessEnvironment(env);
    ASSERT_TRUE(host->startReady());
    // Each undeliverable request traces the same failure; the answer to the last request comes
    // after the router has dealt with all of them.
    zeltest::ControlClient client(host->address.toStdString());
    for (int i = 0; i < 50; ++i)
        client.send("inproc://zel/nobody", zel::ControlMessageHelper::makeQueryProcessorsMessage());
    ASSERT_TRUE(
        client.request(zeltest::managerIdentity(), zel::ControlMessageHelper::makeQueryProcessorGroupsMessage()));
    host->sendSignal(SIGTERM);
    ASSERT_TRUE(host->waitForExit());
    EXPECT_EQ(host->process().exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(host->process().exitCode(), 0);
    QStringList const lines = host->standardError().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    EXPECT_EQ(lines.filter(QStringLiteral("ZEL_TRACE_FLAGS=abc")).size(), 1);
    QStringList const flood = lines.filter(QStringLiteral("Failed to deliver"));
    // The line once, then what came again within a second as its count.
    ASSERT_GE(flood.size(), 2) << qPrintable(lines.join('\n'));
    EXPECT_LT(flood.size(), 10);
    EXPECT_TRUE(flood.last().startsWith(flood.first() + " (repeated ")) << qPrintable(flood.last());
}
