#include "support/frontendclient.h"
#include "support/zelhostprocess.h"

#include <zel/controlmessagehelper.h>

#include <gtest/gtest.h>

#include <QProcessEnvironment>

#include <csignal>
#include <tuple>

using zeltest::ZelhostProcess;

// A configuration problem is one line on stderr and exit 1; an empty file keeps the default.
TEST(Zelhost, AConfigurationProblemIsOneLineOnStderr)
{
    QString const refused
        = QStringLiteral("zelhost: the environment did not start: EnvironmentAddress '%1' is refused: ");
    // The configuration, the first line on stdout, the exit code, what stderr says.
    std::tuple<QString, QString, int, QStringList> const cases[] = {
        // An address no interface of this machine has.
        { "EnvironmentAddress=tcp://192.0.2.1:5555\n", "", 1,
            { "zelhost: the environment did not start: ", "bindSocket() for \"tcp://192.0.2.1:5555\" failed" } },
        { "EnvironmentAddress=nosuchprotocol://frontend\n", "", 1,
            { refused.arg("nosuchprotocol://frontend") + "it is none of tcp://HOST:PORT" } },
        // ZeroMQ would bind another port.
        { "EnvironmentAddress=tcp://127.0.0.1:99999\n", "", 1,
            { refused.arg("tcp://127.0.0.1:99999") + "the port must be a number from 1 to 65535, or *\n" } },
        { "EnvironmentAddress=tcp://localhost:5555\n", "", 1,
            { refused.arg("tcp://localhost:5555")
                + "ZeroMQ binds interfaces and addresses, not host names: write "
                  "127.0.0.1 for localhost\n" } },
        { QString(), "", 1, { "no configuration zeltest.ini" } },
        { "EnviromentAddress=tcp://127.0.0.1:5555\n", "", 1,
            { "zelhost: the environment did not start: zeltest.ini has no key zelhost knows (EnvironmentAddress); "
              "unknown: EnviromentAddress\n" } },
        { QStringLiteral(""), "zelhost: ready at inproc://zel/__router__external__", 0, {} },
    };
    for (auto const& [ini, ready, exitCode, reasons] : cases) {
        ZelhostProcess host(ini);
        ASSERT_TRUE(host.start()) << "cannot run " ZEL_BIN_DIR "/zelhost";
        EXPECT_EQ(host.waitForFirstLine(), ready);
        if (!ready.isEmpty())
            host.sendSignal(SIGTERM);
        ASSERT_TRUE(host.waitForExit());
        EXPECT_EQ(host.process().exitCode(), exitCode);
        for (QString const& reason : reasons)
            EXPECT_TRUE(host.standardError().contains(reason)) << qPrintable(host.standardError());
        EXPECT_EQ(host.standardError().count(QLatin1Char('\n')), reasons.isEmpty() ? 0 : 1) << "the reason alone";
    }
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
    zeltest::FrontendClient client(host->address.toStdString());
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
