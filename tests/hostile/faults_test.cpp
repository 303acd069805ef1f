// Faults a client can cause in a real zelhost: a client that never reads, messages that end a
// service, a group that cannot get its sockets, deletes that race. Where a service ends, zelhost must
// say so on one line and exit non-zero at once, so that a supervisor restarts it; where the host
// survives, a second client is still served and a stop stays prompt.

#include "support/floodclient.h"
#include "support/frontendclient.h"
#include "support/zelctlrun.h"
#include "support/zelhostprocess.h"

#include <zel/controlmessagehelper.h>
#include <zel/environment.h>
#include <zel/environmentdll.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <optional>
#include <vector>

namespace {

using namespace std::chrono_literals;
using zel::ControlMessageHelper;
using zeltest::FrontendClient;
using zeltest::ZelhostProcess;

// The time a host has to stop, or to notice a dead service, stop the rest and exit.
constexpr auto promptly = 2000ms;

std::unique_ptr<ZelhostProcess> startedHost(QProcessEnvironment const& extra = {})
{
    auto host = ZelhostProcess::listeningAt();
    host->addEnvironment(extra);
    EXPECT_TRUE(host->startReady());
    return host;
}

std::string queryGroupsPayload()
{
    return ControlMessageHelper::makeMessageEnvelope(
        zeltest::managerIdentity(), ControlMessageHelper::makeQueryProcessorGroupsMessage())
        .payload.toStdString();
}

// What zelhost itself wrote on stderr: its lines begin with its name, traces do not.
QStringList zelhostLines(ZelhostProcess& host)
{
    QStringList lines;
    for (QString const& line : host.standardError().split(QLatin1Char('\n')))
        if (line.startsWith(QLatin1String("zelhost: ")))
            lines << line;
    return lines;
}

// The host ends by itself, within `promptly` of the fault, exit code non-zero, with one line of its
// own that names the service that failed and holds `reason`.
testing::AssertionResult endsNaming(ZelhostProcess& host, QString const& service, QString const& reason)
{
    auto const start = std::chrono::steady_clock::now();
    if (!host.waitForExit(promptly))
        return testing::AssertionFailure() << "still running " << promptly.count()
                                           << " ms after the fault; stderr: " << host.standardError().toStdString();
    auto const took = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    if (host.process().exitStatus() != QProcess::NormalExit || host.process().exitCode() == 0)
        return testing::AssertionFailure() << "exit status " << host.process().exitStatus() << ", code "
                                           << host.process().exitCode() << " after " << took.count() << " ms";
    QStringList const lines = zelhostLines(host);
    if (lines.size() != 1 || !lines[0].contains(service) || !lines[0].contains(reason))
        return testing::AssertionFailure() << "zelhost's lines: [" << lines.join(" | ").toStdString() << "], want one "
                                           << "naming " << service.toStdString() << " and " << reason.toStdString();
    return testing::AssertionSuccess() << lines[0].toStdString();
}

// SIGTERM ends the host with exit code 0 within `promptly`.
testing::AssertionResult stopsPromptly(ZelhostProcess& host)
{
    host.sendSignal(SIGTERM);
    if (!host.waitForExit(promptly))
        return testing::AssertionFailure() << "no exit " << promptly.count() << " ms after SIGTERM";
    if (host.process().exitStatus() != QProcess::NormalExit || host.process().exitCode() != 0)
        return testing::AssertionFailure()
            << "exit code " << host.process().exitCode() << ", stderr " << host.standardError().toStdString();
    return testing::AssertionSuccess();
}

testing::AssertionResult answersQueryGroups(FrontendClient& client)
{
    std::string const outcome = zeltest::outcome(
        client.request(zeltest::managerIdentity(), ControlMessageHelper::makeQueryProcessorGroupsMessage()));
    if (outcome.rfind("Success", 0) != 0)
        return testing::AssertionFailure() << outcome;
    return testing::AssertionSuccess();
}

} // namespace

// ZeroMQ holds some thousands of unread answers for a client; after that the host must drop its
// answers, not wait for it, and never at the cost of other clients.
TEST(HostileFaults, AClientThatNeverReadsLosesOnlyItsOwnAnswers)
{
    auto host = startedHost();
    FrontendClient other(host->address.toStdString());
    int const flood = 50000;
    int served = 0;
    {
        zeltest::FloodClient flooder(
            host->address.toStdString(), zeltest::managerIdentity(), queryGroupsPayload(), flood);
        while (!flooder.finished()) {
            ASSERT_TRUE(answersQueryGroups(other)) << "request " << served << " of the other client";
            ++served;
        }
        EXPECT_EQ(flooder.wait(), flood) << "the host stopped taking requests";
    }
    EXPECT_GT(served, 0);
    // The flooder has gone, with tens of thousands of answers that it never took.
    EXPECT_TRUE(answersQueryGroups(other));
    EXPECT_TRUE(stopsPromptly(*host));
}

// A message of other than three frames from a client ends the router; so does a group name that
// makes an identity longer than ZeroMQ takes, the group manager. The host is then no use to anybody.
TEST(HostileFaults, AMessageThatEndsAServiceEndsTheHostWithOneLine)
{
    struct Case
    {
        char const* what;
        zeltest::Frames frames;
        QString service;
        QString reason;
    };
    std::string const manager = zeltest::withNul(zeltest::managerIdentity());
    std::string const longName = ControlMessageHelper::makeMessageEnvelope(
        zeltest::managerIdentity(), ControlMessageHelper::makeCreateProcessorGroupMessage(std::string(230, 'g')))
                                     .payload.toStdString();
    Case const cases[] = {
        { "one frame", { "QueryGroups" }, "router", "Invalid message format" },
        { "five frames", { "", manager, queryGroupsPayload(), "x", "y" }, "router", "Invalid message format" },
        { "a 230-byte group name", { "", manager, longName }, "group manager", "Invalid argument" },
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.what);
        auto host = startedHost();
        zmq::socket_t client = zeltest::connectClient(host->address.toStdString());
        zeltest::sendFrames(client, c.frames);
        EXPECT_TRUE(endsNaming(*host, c.service, c.reason));
    }
}

// What zelhost does, a program that embeds an environment can do: ask it whether a service ended.
TEST(HostileFaults, AnEmbeddingProgramLearnsWhichServiceEndedAndWhy)
{
    zel::EnvironmentDll idle(QStringLiteral("nosuchconfiguration"));
    EXPECT_FALSE(idle.getServiceFailure()) << "no environment, no failure";

    zel::Environment environment("tcp://127.0.0.1:*");
    EXPECT_FALSE(environment.getServiceFailure()) << "both services run";
    zmq::socket_t client = zeltest::connectClient(environment.getRouterFrontendAddress());
    zeltest::sendFrames(client, { "QueryGroups" });
    std::optional<zel::ServiceFailure> failure;
    ASSERT_TRUE(zeltest::waitUntil([&] { return (failure = environment.getServiceFailure()).has_value(); }));
    EXPECT_EQ(failure->service, "router");
    EXPECT_EQ(failure->reason, "ControllableThread::run() failed: Invalid message format");
}

// A newcomer fills one group with processors until the process has no socket left, then makes a
// group: the group cannot start, which ends the group manager with every group. The limit is made
// small for the test; at ZeroMQ's 4095 it takes some 580 processors.
TEST(HostileFaults, AGroupWithoutSocketsEndsTheHostNamingTheSocketLimit)
{
    QProcessEnvironment small;
    small.insert(QStringLiteral("ZEL_MAX_SOCKETS"), QStringLiteral("160"));
    auto host = startedHost(small);
    QString const& address = host->address;
    ASSERT_EQ(zeltest::runZelctl({ "create-group", "full" }, address).exitCode, 0);
    int created = 0;
    for (; created < 100; ++created) {
        QString const name = QStringLiteral("p%1").arg(created);
        QStringList const create { "create", "full", name, "demo.Counter", "--stream", name, "--stream-address",
            "inproc://full-" + name };
        if (zeltest::runZelctl(create, address).exitCode != 0)
            break;
    }
    ASSERT_LT(created, 100) << "the socket limit was never reached";
    ASSERT_GT(created, 0);
    EXPECT_EQ(host->process().state(), QProcess::Running) << "a processor that does not start costs only itself";
    FrontendClient client(address.toStdString());
    client.send(zeltest::managerIdentity(), ControlMessageHelper::makeCreateProcessorGroupMessage("late"));
    EXPECT_TRUE(endsNaming(*host, "group manager", "socket limit"));
}

// Sixteen pipelines taken down at once, in whatever order their deletes come: by `down`, consumers
// before producers, or by deleting the groups, which stop their processors in the order of their
// names. Nothing of them may hold up the end of the process.
TEST(HostileFaults, ConcurrentDeletesLeaveAPromptStop)
{
    QFile demo(QStringLiteral(ZEL_SOURCE_DIR "/examples/pipelines/demo.json"));
    ASSERT_TRUE(demo.open(QIODevice::ReadOnly));
    QByteArray const pipeline = demo.readAll();
    QTemporaryDir dir;
    QStringList files;
    for (int i = 0; i < 16; ++i) {
        files << zeltest::writeFile(dir, QStringLiteral("p%1.json").arg(i),
            QByteArray(pipeline).replace("\"demo\"", QStringLiteral("\"g%1\"").arg(i).toUtf8()));
    }
    for (bool const byGroup : { false, true, false }) {
        SCOPED_TRACE(byGroup ? "delete-group" : "down");
        auto host = startedHost();
        for (QString const& file : files)
            ASSERT_EQ(zeltest::runZelctl({ "apply", file }, host->address).exitCode, 0);
        std::vector<std::unique_ptr<QProcess>> deletes;
        for (int i = 0; i < files.size(); ++i)
            deletes.push_back(
                zeltest::startZelctl(byGroup ? QStringList { "delete-group", QStringLiteral("g%1").arg(i) }
                                             : QStringList { "down", files[i] },
                    host->address));
        for (auto& del : deletes) {
            ASSERT_TRUE(del->waitForFinished(30000));
            EXPECT_EQ(del->exitCode(), 0) << del->readAllStandardError().toStdString();
        }
        EXPECT_TRUE(stopsPromptly(*host));
    }
}

// A hang-up (the terminal closed) is a stop like SIGTERM, not the end by signal it would be by default.
TEST(HostileFaults, SighupStopsTheHostCleanly)
{
    auto host = startedHost();
    host->sendSignal(SIGHUP);
    ASSERT_TRUE(host->waitForExit(promptly));
    EXPECT_EQ(host->process().exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(host->process().exitCode(), 0);
}
