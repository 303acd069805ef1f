// What a hostile or careless client can send to a real zelhost: each shape gets its answer and a
// second client is served afterwards.

#include "support/frontendclient.h"
#include "support/polling.h"
#include "support/zelctlrun.h"
#include "support/zelhostprocess.h"

#include <zel/controlmessagehelper.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace zeltest {
namespace {

using zel::ControlMessageHelper;
using zelmsg::ControlMessage;

// A zelhost on a free loopback port with one group "g", and a client at its frontend.
class HostileInputs : public testing::Test
{
protected:
    // Starts the host with extra environment variables.
    void startHost(QProcessEnvironment const& extra = {})
    {
        host = ZelhostProcess::listeningAt();
        host->addEnvironment(extra);
        ASSERT_TRUE(host->startReady());
        client = std::make_unique<FrontendClient>(frontend());
        std::optional<ControlMessage> const made
            = client->request(managerIdentity(), ControlMessageHelper::makeCreateProcessorGroupMessage("g"));
        ASSERT_TRUE(made);
        ASSERT_EQ(made->GetResultType(), ControlMessage::Success) << made->GetXmlString().toStdString();
    }

    std::string frontend() const { return host->address.toStdString(); }

    // The group's reply to a request; fails the test when there is none.
    ControlMessage groupAnswer(ControlMessage const& request)
    {
        std::optional<ControlMessage> const reply = client->request(groupIdentity("g"), request);
        EXPECT_TRUE(reply) << "no answer to " << request.GetXmlString().toStdString();
        return reply.value_or(ControlMessage());
    }

    ControlMessage create(std::string const& type, std::string const& name, zelmsg::Processor const& config = {})
    {
        return groupAnswer(ControlMessageHelper::makeCreateProcessorMessage(type, name, config));
    }

    // The manager's reply to a raw payload, read back as a record.
    ControlMessage managerAnswer(std::string const& payload, std::chrono::milliseconds deadline = defaultDeadline)
    {
        std::optional<ControlMessage> const reply = client->requestRaw(managerIdentity(), payload, deadline);
        EXPECT_TRUE(reply) << "no answer to a payload of " << payload.size() << " bytes";
        return reply.value_or(ControlMessage());
    }

    // The mark plug-in copied into a fresh folder whose path has no dot, since the first dot of a
    // processor type ends the plug-in's name.
    QString copyMarkPlugin(QTemporaryDir const& folder)
    {
        QString const path = folder.filePath(QStringLiteral("markplugin.dll"));
        EXPECT_FALSE(folder.path().contains(QLatin1Char('.'))) << folder.path().toStdString();
        EXPECT_TRUE(QFile::copy(QStringLiteral(MARK_PLUGIN_FILE), path));
        return path;
    }

    static QProcessEnvironment variables(std::initializer_list<std::pair<QString, QString>> pairs)
    {
        QProcessEnvironment env;
        for (auto const& pair : pairs)
            env.insert(pair.first, pair.second);
        return env;
    }

    std::unique_ptr<ZelhostProcess> host;
    std::unique_ptr<FrontendClient> client;
};

std::string const unknownType = "Unknown message type";

TEST_F(HostileInputs, MarkPluginLeavesItsMarkFromASearchFolder)
{
    // The mark is real: from a plug-in folder the same file loads and says so.
    QTemporaryDir folder;
    copyMarkPlugin(folder);
    QString const mark = folder.filePath(QStringLiteral("mark"));
    startHost(variables(
        { { QStringLiteral("ZEL_PLUGIN_PATH"), folder.path() }, { QStringLiteral("ZEL_TEST_MARK_FILE"), mark } }));
    EXPECT_EQ(create("markplugin.Thrower", "t").GetResultType(), ControlMessage::Success);
    EXPECT_TRUE(QFile::exists(mark));
}

TEST_F(HostileInputs, PluginNameWithAPathLoadsNothing)
{
    QTemporaryDir outside;
    copyMarkPlugin(outside);
    QString const mark = outside.filePath(QStringLiteral("mark"));
    startHost(variables({ { QStringLiteral("ZEL_TEST_MARK_FILE"), mark } }));
    // A type names its plug-in up to the first dot, so a path here is an absolute one; a drive and
    // a backslash are refused alike.
    std::string const dir = outside.path().toStdString();
    int made = 0;
    for (std::string const& type :
        { dir + "/markplugin.Thrower", std::string("C:markplugin.Thrower"), std::string("sub\\markplugin.Thrower") }) {
        ControlMessage const reply = create(type, "p" + std::to_string(made++));
        EXPECT_EQ(reply.GetResultType(), ControlMessage::Error) << type;
        EXPECT_EQ(reply.GetMessageText().toStdString(), "Processor of type '" + type + "' could not be created.");
    }
    EXPECT_FALSE(QFile::exists(mark)) << "a plug-in outside the plug-in folders was loaded";
    EXPECT_TRUE(hostServes(frontend()));
}

// The type of a path: a regular file, a socket, or nothing there.
mode_t fileType(QString const& path)
{
    struct stat info = {};
    if (lstat(QFile::encodeName(path).constData(), &info) != 0)
        return 0;
    return info.st_mode & S_IFMT;
}

TEST_F(HostileInputs, IpcStreamOverAFileIsRefused)
{
    QTemporaryDir folder;
    QString const victim = folder.filePath(QStringLiteral("victim"));
    {
        QFile file(victim);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("precious");
    }
    startHost();
    std::string const address = "ipc://" + victim.toStdString();
    ControlMessage const reply
        = create("demo.Generator", "gen", ControlMessageHelper::makeProcessorConfig("out", address));
    EXPECT_EQ(reply.GetResultType(), ControlMessage::Error);
    EXPECT_EQ(reply.GetMessageText().toStdString(),
        "Processor of type 'demo.Generator' could not be created: 'Thread failed: ControllableThread::run() failed: "
        "File exists'.");
    QFile file(victim);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("precious"));
    QString const refusal = QStringLiteral("bindSocket() for \"%1\" failed: the path exists and is not a socket")
                                .arg(QString::fromStdString(address));
    EXPECT_TRUE(waitUntil([&] { return host->standardError().contains(refusal); }))
        << host->standardError().toStdString();
    EXPECT_TRUE(hostServes(frontend()));
}

TEST_F(HostileInputs, IpcSocketFileGoesWithItsStream)
{
    QTemporaryDir folder;
    QString const socketPath = folder.filePath(QStringLiteral("stream"));
    startHost();
    std::string const address = "ipc://" + socketPath.toStdString();
    ASSERT_EQ(
        create("demo.Generator", "gen", ControlMessageHelper::makeProcessorConfig("out", address)).GetResultType(),
        ControlMessage::Success);
    EXPECT_EQ(fileType(socketPath), static_cast<mode_t>(S_IFSOCK));
    // Bound again at the same path: a socket file left behind is no file of anybody's.
    ASSERT_EQ(
        groupAnswer(ControlMessageHelper::makeDeleteProcessorMessage("gen")).GetResultType(), ControlMessage::Success);
    EXPECT_EQ(fileType(socketPath), 0u) << "socket file left after Delete";
    ASSERT_EQ(
        create("demo.Generator", "gen", ControlMessageHelper::makeProcessorConfig("out", address)).GetResultType(),
        ControlMessage::Success);
    EXPECT_EQ(fileType(socketPath), static_cast<mode_t>(S_IFSOCK));
    EXPECT_EQ(outcome(client->request(managerIdentity(), ControlMessageHelper::makeDeleteProcessorGroupMessage("g"))),
        "Success");
    EXPECT_EQ(fileType(socketPath), 0u) << "socket file left after DeleteGroup";
    EXPECT_TRUE(hostServes(frontend()));
}

TEST_F(HostileInputs, ThrowingHandlerTellsItsReason)
{
    QTemporaryDir folder;
    copyMarkPlugin(folder);
    startHost(variables({ { QStringLiteral("ZEL_PLUGIN_PATH"), folder.path() } }));
    ASSERT_EQ(create("markplugin.Thrower", "t").GetResultType(), ControlMessage::Success);
    client->send(processorIdentity("g", "t"), ControlMessageHelper::makeSetParameterMessage("any", "reason-7f3a"));
    // The thread ends without a reply, as any failure in a handler does: one short wait shows it.
    EXPECT_FALSE(client->receive(std::chrono::milliseconds(500)));
    std::string const identity = processorIdentity("g", "t");
    QString const told
        = QStringLiteral("Processor '%1' ended by a failure: reason-7f3a").arg(QString::fromStdString(identity));
    EXPECT_TRUE(waitUntil([&] { return host->standardError().contains(told); })) << host->standardError().toStdString();

    // zelhost keeps the reason for whoever asks, until a processor starts under the identity again.
    ControlMessage const ask = ControlMessageHelper::makeGetParameterMessage(identity);
    std::optional<ControlMessage> known = client->request("zelhost", ask);
    ASSERT_TRUE(known);
    EXPECT_EQ(known->GetResultType(), ControlMessage::Success);
    EXPECT_EQ(known->GetParameter().toStdString(), "reason-7f3a");
    // And zelctl, finding the processor silent, says so.
    ZelctlResult const params = runZelctl({ "--timeout", "500", "params", "g", "t" }, host->address);
    EXPECT_EQ(params.exitCode, 3) << params;
    EXPECT_EQ(params.err, "zelctl: processor 't' in group 'g' ended by a failure: reason-7f3a\n");
    ZelctlResult const graph = runZelctl({ "--timeout", "500", "graph" }, host->address);
    EXPECT_TRUE(graph.lines().contains(QStringLiteral("  t  (ended by a failure: reason-7f3a)"))) << graph;
    ASSERT_EQ(
        groupAnswer(ControlMessageHelper::makeDeleteProcessorMessage("t")).GetResultType(), ControlMessage::Success);
    ASSERT_EQ(create("markplugin.Thrower", "t").GetResultType(), ControlMessage::Success);
    known = client->request("zelhost", ask);
    ASSERT_TRUE(known);
    EXPECT_EQ(known->GetResultType(), ControlMessage::Error);
    EXPECT_EQ(known->GetMessageText().toStdString(), "No failure of '" + identity + "' is known");
    EXPECT_TRUE(hostServes(frontend()));
}

// Shapes that hold: each gets its answer and the host goes on.

TEST_F(HostileInputs, RecordCutOffAfterItsFieldsIsCarriedOut)
{
    startHost();
    for (std::string const& tail : { std::string(), std::string("</ControlMessage"), std::string("</Other>junk") }) {
        std::string const name = "cut" + std::to_string(tail.size());
        ControlMessage const reply = managerAnswer(
            "<ControlMessage><MessageType>CreateGroup</MessageType><GroupName>" + name + "</GroupName>" + tail);
        EXPECT_EQ(reply.GetResultType(), ControlMessage::Success) << tail;
        EXPECT_EQ(reply.GetGroupName().toStdString(), name);
    }
    ControlMessage const groups
        = managerAnswer(ControlMessageHelper::makeQueryProcessorGroupsMessage().GetXmlString().toUtf8().toStdString());
    EXPECT_EQ(groups.GetParameter().toStdString(), "cut0,cut12,cut16,g");
}

TEST_F(HostileInputs, PayloadsWithoutARecordAreAnsweredAsUnknown)
{
    startHost();
    for (std::string const& payload : { std::string(), std::string("\xff\xfe\x00\x80 not text", 12),
             std::string("<Other><MessageType>QueryGroups</MessageType></Other>") }) {
        ControlMessage const reply = managerAnswer(payload);
        EXPECT_EQ(reply.GetResultType(), ControlMessage::Error);
        EXPECT_EQ(reply.GetMessageText().toStdString(), unknownType);
        // zelhost's own service answers the same.
        std::optional<ControlMessage> const own = client->requestRaw("zelhost", payload);
        ASSERT_TRUE(own);
        EXPECT_EQ(own->GetMessageText().toStdString(), unknownType);
    }
    EXPECT_TRUE(hostServes(frontend()));
}

TEST_F(HostileInputs, NonUtf8BytesInAFieldAreReplaced)
{
    startHost();
    ControlMessage const reply
        = managerAnswer("<ControlMessage><MessageType>CreateGroup</MessageType><GroupName>a\xff\xfe"
                        "b</GroupName></ControlMessage>");
    EXPECT_EQ(reply.GetResultType(), ControlMessage::Success);
    EXPECT_EQ(reply.GetGroupName(), QStringLiteral("a\uFFFD\uFFFDb")) << reply.GetGroupName().toStdString();
    EXPECT_TRUE(hostServes(frontend()));
}

TEST_F(HostileInputs, ExternalEntitiesAreNotRead)
{
    startHost();
    std::string const payload = "<?xml version=\"1.0\"?><!DOCTYPE ControlMessage [<!ENTITY x SYSTEM "
                                "\"file:///etc/passwd\">]><ControlMessage><MessageType>CreateGroup</MessageType>"
                                "<GroupName>&x;</GroupName></ControlMessage>";
    // The reference reads as nothing: the group is made with the empty name.
    ControlMessage const reply = managerAnswer(payload);
    EXPECT_EQ(reply.GetResultType(), ControlMessage::Success);
    EXPECT_EQ(reply.GetGroupName().toStdString(), "");
    EXPECT_TRUE(hostServes(frontend()));
}

TEST_F(HostileInputs, UnknownElementsAreSkippedHoweverDeepOrLarge)
{
    startHost();
    int const depth = 100000;
    std::string const open = "<ControlMessage><MessageType>QueryGroups</MessageType>";
    std::string const close = "</ControlMessage>";
    std::string nested;
    for (int i = 0; i < depth; ++i)
        nested += "<x>";
    for (int i = 0; i < depth; ++i)
        nested += "</x>";
    std::string const huge = "<Junk>" + std::string(200u << 20, 'a') + "</Junk>";
    for (std::string const* inner : std::initializer_list<std::string const*> { &nested, &huge }) {
        ControlMessage const reply = managerAnswer(open + *inner + close, std::chrono::seconds(60));
        EXPECT_EQ(reply.GetResultType(), ControlMessage::Success);
        EXPECT_EQ(reply.GetParameter().toStdString(), "g");
        EXPECT_TRUE(hostServes(frontend()));
    }
}

} // namespace
} // namespace zeltest
