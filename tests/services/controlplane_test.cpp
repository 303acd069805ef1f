#include "labplugin.h"

#include "support/environmenttest.h"
#include "support/tracecapture.h"

#include <zel/decodecontrolrecord.h>
#include <zel/endpoints.h>
#include <zel/processorinfo.h>

#include <QCoreApplication>
#include <QDir>

#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

using namespace zeltest;

namespace {

class ControlPlaneTest : public EnvironmentTest
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(plugins->registerPlugin(&lab));
        EnvironmentTest::SetUp();
    }

    std::shared_ptr<Journal> makeRecorder(
        std::string const& name, Behaviour behaviour = {}, std::string const& group = "g")
    {
        auto journal = lab.prepare(name, std::move(behaviour));
        EXPECT_EQ(create(name, "lab.Recorder", {}, group), "Success") << name;
        return journal;
    }
    std::string queryProcessors() { return toGroup(Helper::makeQueryProcessorsMessage()); }

    LabPlugin lab; // the plug-in manager, which does not own it, goes first, in TearDown
};

Behaviour slowRelease()
{
    Behaviour behaviour;
    behaviour.slowRelease = true;
    return behaviour;
}

Behaviour subscribing(std::vector<std::string> names, bool refuseAll = false)
{
    Behaviour behaviour;
    behaviour.subscriptions = std::move(names);
    behaviour.refuseAll = refuseAll;
    return behaviour;
}

} // namespace

TEST_F(ControlPlaneTest, GroupsAreListedInByteOrderReplacedWholeAtTheSameAddressesAndEndWithTheEnvironment)
{
    for (std::string const name : { "b", "B", "x,y" })
        EXPECT_EQ(createGroup(name), "Success") << name;
    // A comma is taken, though the list then reads as one more group.
    EXPECT_EQ(toManager(Helper::makeQueryProcessorGroupsMessage()), "Success: B,b,g,x,y");

    auto const p1 = makeRecorder("p1", slowRelease());
    std::string const nameService = nameServiceIdentity("g");
    ASSERT_EQ(
        outcome(client->request(nameService, Helper::makeRegisterStreamMessage("s", "p", "inproc://s"))), "Success");
    // Delete replies once every thread of the group has ended.
    ASSERT_EQ(toManager(Helper::makeDeleteProcessorGroupMessage("g")), "Success");
    EXPECT_TRUE(p1->destroyed);
    ASSERT_EQ(createGroup("g"), "Success");

    EXPECT_EQ(queryProcessors(), "Success: ");
    auto const resolved = client->request(nameService, Helper::makeResolveStreamMessage("s"));
    ASSERT_TRUE(resolved) << "the new name service answers under the old name";
    EXPECT_EQ(resolved->GetResultType(), Record::Error) << "and knows nothing of the old one's streams";
    Behaviour idle;
    idle.idlePeriod = 0;
    std::vector<std::shared_ptr<Journal>> const journals { makeRecorder("p1"), makeRecorder("p2", idle),
        makeRecorder("p3", slowRelease(), "b") };
    EXPECT_EQ(ask("p1", Helper::makeGetParameterListMessage()), "Success: ");

    environment.reset();
    for (auto const& journal : journals) {
        EXPECT_TRUE(journal->released);
        EXPECT_TRUE(journal->destroyed);
    }
}

// The router hands an identity to the newest connection: else a processor made again while its
// predecessor's connection still closes is unreachable.
TEST_F(ControlPlaneTest, AProcessorMadeAgainAndAgainUnderOneNameStaysReachable)
{
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(create("p", "lab.Recorder"), "Success") << i;
        ASSERT_EQ(ask("p", Helper::makeGetParameterListMessage()), "Success: ") << "round " << i;
        ASSERT_EQ(remove("p"), "Success") << i;
    }
}

TEST_F(ControlPlaneTest, CreatesListsAndDeletesProcessorsAndRefusalsLeaveTheNameFree)
{
    for (QString const& name : { QStringLiteral("a b"), QStringLiteral(" a"), QStringLiteral("a\tb"),
             QStringLiteral("a,b"), QStringLiteral("a\u00A0b"), QStringLiteral("a\u2003") }) {
        std::string const text = name.toStdString();
        EXPECT_EQ(create(text, "lab.Recorder"), "Error: Processor name '" + text + "' is not allowed.") << text;
    }
    EXPECT_EQ(create("x/y", "lab.Recorder"), "Success");

    Behaviour brokenStart;
    brokenStart.throwInInitialize = true;
    auto const failed = lab.prepare("p", brokenStart);
    std::string const failure = create("p", "lab.Recorder");
    EXPECT_EQ(failure.rfind("Error: Processor of type 'lab.Recorder' could not be created: 'Thread failed: ", 0), 0u)
        << failure;
    EXPECT_NE(failure.find("initialize refused'."), std::string::npos) << failure;
    EXPECT_TRUE(failed->released);
    EXPECT_TRUE(failed->destroyed);

    Behaviour brokenConstructor;
    brokenConstructor.throwInConstructor = true;
    lab.prepare("p", brokenConstructor);
    EXPECT_EQ(create("p", "lab.Recorder"),
        "Error: Processor of type 'lab.Recorder' could not be created: 'constructor refused'.");
    EXPECT_EQ(queryProcessors(), "Success: x/y");
    makeRecorder("p");

    zelmsg::Processor const config = Helper::makeProcessorConfig("out", "inproc://out");
    auto const reply
        = client->request(groupIdentity("g"), Helper::makeCreateProcessorMessage("lab.Recorder", "p2", config));
    ASSERT_EQ(outcome(reply), "Success");
    EXPECT_EQ(reply->GetProcessor(), config) << "the reply is the request with its result";

    auto const p1 = makeRecorder("p1", slowRelease());
    makeRecorder("P");
    EXPECT_EQ(queryProcessors(), "Success: P,p,p1,p2,x/y");
    EXPECT_EQ(create("p1", "lab.Recorder"), "Error: A processor with the name 'p1' already exists in group 'g'.");
    EXPECT_FALSE(p1->destroyed);
    EXPECT_EQ(remove("x"), "Error: A processor with the name 'x' does not exists.");

    EXPECT_EQ(remove("p1"), "Success");
    EXPECT_TRUE(p1->released) << "the reply waits for the processor's thread";
    EXPECT_TRUE(p1->destroyed);
    EXPECT_EQ(queryProcessors(), "Success: P,p,p2,x/y");
}

TEST_F(ControlPlaneTest, SetParameterBroadcastsTheNameWithItsNulToTheSubscribersOfAPrefixOfIt)
{
    zmq::socket_t listener = makeSocket(zmq::socket_type::sub);
    listener.set(zmq::sockopt::subscribe, "");
    listener.connect(zel::Endpoints::getGroupBroadcastEndpoint("g", zel::internalAddressPrefixDefault));
    // A new subscriber joins a publisher some time after its connect: publish until it hears.
    ASSERT_TRUE(waitUntil([&] {
        EXPECT_EQ(toGroup(Helper::makeSetParameterMessage("warmup", "")), "Success: ");
        return receiveFrames(listener, 50ms).has_value();
    }));
    while (receiveFrames(listener, 0ms)) { }

    auto const gain = makeRecorder("gain", subscribing({ "gain" }));
    auto const ga = makeRecorder("ga", subscribing({ "ga" }));
    auto const offset = makeRecorder("offset", subscribing({ "offset" }));
    auto const refusing = makeRecorder("refusing", subscribing({ "gain" }, true));

    Record const request = Helper::makeSetParameterMessage("gain", "3");
    EXPECT_EQ(toGroup(request), "Success: 3");
    EXPECT_TRUE(waitUntil([&] { return refusing->calls().contains("set gain=3"); }));
    auto const frames = receiveFrames(listener);
    ASSERT_TRUE(frames && frames->size() == 2u);
    EXPECT_EQ((*frames)[0], std::string("gain\0", 5));
    zel::ControlMessage envelope;
    envelope.payload = QByteArray::fromStdString((*frames)[1]);
    EXPECT_EQ(zel::decodeControlRecord(envelope), request) << "the request as it came, no result yet";
    EXPECT_EQ(toGroup(Helper::makeSetParameterMessage("gainful", "2")), "Success: 2");
    EXPECT_EQ(toGroup(Helper::makeSetParameterMessage("gai", "0")), "Success: 0");
    EXPECT_TRUE(waitUntil([&] { return ga->calls().contains("set gai=0"); }));
    // Broadcasts and requests reach a processor by different sockets: wait for the broadcast first.
    EXPECT_TRUE(waitUntil([&] { return gain->calls().contains("set gainful=2"); }));
    for (std::string const processor : { "gain", "offset" })
        EXPECT_EQ(ask(processor, Helper::makeGetParameterListMessage()).substr(0, 7), "Success") << processor;

    EXPECT_EQ(gain->calls(), QStringList({ "set gain=3", "set gainful=2", "list" }));
    EXPECT_EQ(ga->calls(), QStringList({ "set gain=3", "set gainful=2", "set gai=0" }));
    EXPECT_EQ(offset->calls(), QStringList({ "list" }));
    // The refused broadcast answers nobody: only the replies asked for came.
    EXPECT_FALSE(client->receive(200ms).has_value());
}

TEST_F(ControlPlaneTest, ProcessorsAnswerWithTheirResultsAndEachRefusalWithItsText)
{
    auto const journal = makeRecorder("p");
    makeRecorder("no", subscribing({}, true));
    // The request, its answer by "p", and the refusal by "no".
    std::vector<std::tuple<Record, std::string, std::string>> const cases {
        { Helper::makeGetParameterListMessage(), "Success: ", "Error: Cannot get list of parameters" },
        { Helper::makeConnectStreamMessage("in", "tcp://127.0.0.1:5555", std::vector<std::string> { "a", "b" }),
            "Success", "Error: Cannot connect to: in, tcp://127.0.0.1:5555" },
        { Helper::makeStartStreamMessage("s"), "Success", "Error: Cannot start stream: s" },
        { Helper::makeStopStreamMessage("s"), "Success", "Error: Cannot stop stream: s" },
        { Helper::makeSetParameterMessage("b", "2"), "Success: 2", "Error: Cannot set parameter: b" },
        { Helper::makeSetParameterMessage("a", "1"), "Success: 1", "Error: Cannot set parameter: a" },
        { Helper::makeGetParameterMessage("b"), "Success: 2", "Error: Cannot get parameter: b" },
        { Helper::makeGetParameterListMessage(), "Success: b,a", "Error: Cannot get list of parameters" },
        { Helper::makeStartNewRecordingMessage("x"), "Success: x#1", "Error: Cannot start new recording: x" },
        { Helper::makeQuerySourcesMessage(), "Success", "Error: Cannot query sources" },
        { Helper::makeQueryStreamsMessage(), "Success", "Error: Cannot query streams" },
    };
    for (auto const& [request, answer, refusal] : cases) {
        EXPECT_EQ(ask("p", request), answer);
        auto const refused = client->request(processorIdentity("g", "no"), request);
        EXPECT_EQ(outcome(refused), refusal);
        EXPECT_EQ(refused.value_or(Record()).GetParameter(), request.GetParameter()) << "a failure writes no value";
    }
    EXPECT_EQ(ask("p", Helper::makeGetParameterMessage("nope")), "Error: Cannot get parameter: nope");
    EXPECT_EQ(journal->calls().mid(0, 4),
        QStringList({ "list", "connect in tcp://127.0.0.1:5555 a,b", "start s", "stop s" }));
}

TEST_F(ControlPlaneTest, AStopWaitingBesideARequestGoesFirst)
{
    auto const journal = makeRecorder("p");
    std::string const processor = processorIdentity("g", "p");
    client->send(processor, Helper::makeStartNewRecordingMessage("hold"));
    ASSERT_TRUE(waitUntil([&] { return journal->holding.load(); }));
    // One client, so the router passes both on in this order: the request lies in the processor's
    // socket before the group sends the stop.
    client->send(processor, Helper::makeGetParameterListMessage());
    client->send(groupIdentity("g"), Helper::makeDeleteProcessorMessage("p"));

    auto const held = client->receive();
    EXPECT_EQ(held ? outcome(held->record) : "no reply", "Success: hold#1");
    auto const deleted = client->receive();
    EXPECT_EQ(deleted ? deleted->source : "no reply", groupIdentity("g"));
    EXPECT_EQ(journal->calls(), QStringList({ "record hold" })) << "the waiting request was never served";
}

TEST_F(ControlPlaneTest, IdleProcessingRunsOnlyAfterAQuietPeriod)
{
    Behaviour idle;
    idle.idlePeriod = 20;
    auto const idler = makeRecorder("idler", idle);
    auto const plain = makeRecorder("plain");
    EXPECT_TRUE(waitUntil([&] { return idler->idleRuns >= 3; }));

    // Requests wake the poll but are no quiet period: none of them runs idle processing.
    ASSERT_EQ(ask("idler", Helper::makeSetParameterMessage("idle", "5000")), "Success: 5000");
    int const before = idler->idleRuns;
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(ask("idler", Helper::makeGetParameterMessage("idle")), "Success: 5000");
    EXPECT_EQ(idler->idleRuns, before);

    ASSERT_EQ(ask("idler", Helper::makeSetParameterMessage("idle", "off")), "Success: off");
    int const stopped = idler->idleRuns;
    // Ten of the first periods in silence: nothing, the poll now waits without limit.
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(idler->idleRuns, stopped);
    EXPECT_EQ(plain->idleRuns, 0);
}

TEST_F(ControlPlaneTest, EveryServiceAnswersGarbageAndOthersTypesAsUnknownAndGoesOn)
{
    makeRecorder("p");
    std::vector<std::string> const garbage { "", std::string("\0\xff\xfe<\x01", 5), "<ControlMessage></ControlMessage>",
        "<Processor><ID>p</ID></Processor>", "<ControlMessage><MessageType>NoSuchType</MessageType></ControlMessage>",
        "<ControlMessage><MessageType>Created</MessageType><Running></Running></ControlMessage>" };
    std::vector<std::pair<std::string, Record>> const others {
        { managerIdentity(), Helper::makeCreateProcessorMessage("lab.Recorder", "p", {}) },
        // A stop reaches a service only from its owner, never through the router.
        { managerIdentity(), Helper::makeProcessorGroupManagerMessage(Record::Shutdown, "g") },
        { groupIdentity("g"), Helper::makeCreateProcessorGroupMessage("H") },
        { groupIdentity("g"), Helper::makeStartStreamMessage("") },
        { processorIdentity("g", "p"), Helper::makeQueryProcessorsMessage() },
        { processorIdentity("g", "p"), Helper::makeResolveStreamMessage("s") },
    };
    for (std::string const& identity : { managerIdentity(), groupIdentity("g"), processorIdentity("g", "p") })
        for (std::string const& payload : garbage)
            EXPECT_EQ(outcome(client->requestRaw(identity, payload)), "Error: Unknown message type")
                << identity << " <- " << payload;
    for (auto const& [identity, record] : others) {
        auto const reply = client->request(identity, record);
        EXPECT_EQ(outcome(reply), "Error: Unknown message type") << identity;
        if (reply) {
            EXPECT_EQ(reply->GetProcessorName(), record.GetProcessorName()) << "the request with its result";
        }
    }
    EXPECT_EQ(toManager(Helper::makeQueryProcessorGroupsMessage()), "Success: g");
    EXPECT_EQ(queryProcessors(), "Success: p");
}

namespace {

// A plug-in that claims the built-in plug-in's name.
struct Impostor : LabPlugin
{
    QString getName() const override { return QStringLiteral("base"); }
};

zel::ProcessorInfo infoFor(std::string const& type) { return zel::ProcessorInfo({}, type, "p", "g", "inproc://zel"); }

} // namespace

TEST(PluginManagerTest, RegistersNewNamesOnlyFindsBareTypesExactlyAndLoadsFilesByDottedType)
{
    zel::PluginManager manager;
    zel::Plugin* const base = manager.getPlugins().value(0);
    ASSERT_EQ(base->getName(), QStringLiteral("base"));
    LabPlugin lab;
    LabPlugin secondLab;
    Impostor impostor;
    EXPECT_FALSE(manager.registerPlugin(nullptr));
    EXPECT_FALSE(manager.registerPlugin(&impostor));
    EXPECT_TRUE(manager.registerPlugin(&lab));
    EXPECT_FALSE(manager.registerPlugin(&secondLab));
    EXPECT_EQ(manager.getPlugins(), (QList<zel::Plugin*> { base, &lab }));

    TraceCapture traces;
    std::vector<std::pair<char const*, zel::Plugin*>> const lookups { { "QtBridge", base }, { "base.QtBridge", base },
        { "qtbridge", nullptr }, { "Recorder", &lab }, { "lab.Recorder", &lab }, { "recorder", nullptr },
        // The plug-in is found by its name; whether it offers the type is its own affair.
        { "base.Nothing", base } };
    for (auto const& [type, plugin] : lookups)
        EXPECT_EQ(manager.getPlugin(QString::fromLatin1(type)), plugin) << type;
    EXPECT_EQ(manager.createProcessor(infoFor("base.Nothing")), nullptr);
    EXPECT_EQ(traces.count(), 0) << "no file was looked for: " << traces.texts().join('|').toStdString();

    EXPECT_EQ(manager.getPlugin(QStringLiteral("nosuchplugin.Thing")), nullptr);
    EXPECT_EQ(manager.createProcessor(infoFor("nosuchplugin.Thing")), nullptr);
    ASSERT_EQ(traces.count(), 2) << "tried again each time";
    EXPECT_TRUE(traces.texts().first().startsWith(QStringLiteral("Could not load plugin: ")));
    EXPECT_EQ(traces.files().first(), QStringLiteral("impl/pluginmanager"));

    EXPECT_EQ(manager.getPlugin(QStringLiteral("Store")), nullptr) << "nothing is loaded for a bare type";
    zel::Plugin* const store = manager.getPlugin(QStringLiteral("storeplugin.Store"));
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(manager.getPlugin(QStringLiteral("Store")), store);

    // A file whose plug-in has another name is loaded at each use.
    zel::Plugin* const alias = manager.getPlugin(QStringLiteral("aliasplugin.Store"));
    ASSERT_NE(alias, nullptr);
    EXPECT_EQ(alias->getName(), QStringLiteral("notalias"));
    EXPECT_EQ(manager.getPlugin(QStringLiteral("aliasplugin.Store")), alias);
    EXPECT_EQ(manager.getPlugins().size(), 5);
}

TEST(PluginTest, BareTypeDropsTheNameBeforeTheFirstDot)
{
    for (auto const& [type, bare] : { std::pair { "Relay", "Relay" }, { "demo.Relay", "Relay" },
             { "aliasplugin.Store", "Store" }, { "a.b.C", "b.C" }, { "", "" } })
        EXPECT_EQ(zel::Plugin::bareType(type), QString::fromLatin1(bare)) << type;
}

TEST(PluginManagerTest, SearchesTheApplicationFolderThenZelPluginPathThenTheInstalledFolder)
{
    QString const farFolder = QStringLiteral(ZEL_FAR_PLUGIN_DIR);
    // ZEL_PLUGIN_PATH, the type, the name of the plug-in found (empty: none).
    std::tuple<QString, QString, QString> const cases[] = {
        { "/nonexistent", "farplugin.Store", "" },
        { "/nonexistent" + QString(QDir::listSeparator()) + farFolder, "farplugin.Store", "farplugin" },
        { farFolder, "storeplugin.Store", "storeplugin" }, // bin/'s copy, not far's "shadowed"
        { "", "libdirplugin.Store", "libdirplugin" },
    };
    for (auto const& [pluginPath, type, loaded] : cases) {
        SCOPED_TRACE(type.toStdString() + " with ZEL_PLUGIN_PATH=" + pluginPath.toStdString());
        qputenv("ZEL_PLUGIN_PATH", pluginPath.toLocal8Bit());
        zel::PluginManager manager;
        TraceCapture traces;
        zel::Plugin* const plugin = manager.getPlugin(type);
        EXPECT_EQ(plugin ? plugin->getName() : QString(), loaded);
        if (!loaded.isEmpty())
            continue;
        ASSERT_EQ(traces.count(), 1);
        for (QString const& folder :
            { QCoreApplication::applicationDirPath(), pluginPath, QStringLiteral("/zel/plugins") })
            EXPECT_TRUE(traces.texts().first().contains(folder)) << traces.texts().first().toStdString();
    }
    qunsetenv("ZEL_PLUGIN_PATH");
}
