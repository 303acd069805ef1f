#include "controlplanetest.h"

#include "support/tracecapture.h"

#include <zel/processorbase.h>
#include <zel/processorinfo.h>

#include <QCoreApplication>
#include <QDir>

using namespace cptest;

namespace {

// A plug-in that claims the built-in plug-in's name.
class Impostor : public zel::Plugin
{
public:
    QString getName() const override { return QStringLiteral("base"); }
    QStringList getProcessorTypes() const override { return { QStringLiteral("Recorder") }; }
};

zel::ProcessorInfo infoFor(std::string const& type) { return zel::ProcessorInfo({}, type, "p", "G", "inproc://zel"); }

using PluginsTest = ControlPlaneTest;

} // namespace

TEST(PluginManagerTest, RegistersPluginsUnderNewNamesOnly)
{
    zel::PluginManager manager;
    ASSERT_EQ(manager.getPlugins().size(), 1);
    EXPECT_EQ(manager.getPlugins().first()->getName(), QStringLiteral("base"));

    LabPlugin lab;
    LabPlugin secondLab;
    Impostor impostor;
    EXPECT_FALSE(manager.registerPlugin(nullptr));
    EXPECT_FALSE(manager.registerPlugin(&impostor));
    EXPECT_TRUE(manager.registerPlugin(&lab));
    EXPECT_FALSE(manager.registerPlugin(&secondLab));
    EXPECT_EQ(manager.getPlugins(), (QList<zel::Plugin*> { manager.getPlugins().first(), &lab }));
}

TEST(PluginManagerTest, FindsBareTypesExactlyAndDottedOnesByPluginName)
{
    zel::PluginManager manager;
    LabPlugin lab;
    ASSERT_TRUE(manager.registerPlugin(&lab));
    zel::Plugin* const base = manager.getPlugins().first();
    zeltest::TraceCapture traces;

    EXPECT_EQ(manager.getPlugin(QStringLiteral("QtBridge")), base);
    EXPECT_EQ(manager.getPlugin(QStringLiteral("HttpBridge")), base);
    EXPECT_EQ(manager.getPlugin(QStringLiteral("base.QtBridge")), base);
    EXPECT_EQ(manager.getPlugin(QStringLiteral("qtbridge")), nullptr);
    EXPECT_EQ(manager.getPlugin(QStringLiteral("Recorder")), &lab);
    EXPECT_EQ(manager.getPlugin(QStringLiteral("lab.Recorder")), &lab);
    EXPECT_EQ(manager.getPlugin(QStringLiteral("recorder")), nullptr);
    // The plug-in is found by its name; whether it offers the type is its own affair.
    EXPECT_EQ(manager.getPlugin(QStringLiteral("base.Nothing")), base);
    EXPECT_EQ(manager.createProcessor(infoFor("base.Nothing")), nullptr);
    EXPECT_EQ(manager.createProcessor(infoFor("lab.recorder")), nullptr);
    EXPECT_EQ(traces.count(), 0) << "no file was looked for: " << traces.texts().join('|').toStdString();
}

TEST(PluginManagerTest, AMissingFileIsTracedOnceAndTriedAgainNextTime)
{
    zel::PluginManager manager;
    zeltest::TraceCapture traces;

    EXPECT_EQ(manager.getPlugin(QStringLiteral("nosuchplugin.Thing")), nullptr);
    ASSERT_EQ(traces.count(), 1);
    EXPECT_TRUE(traces.texts().first().startsWith(QStringLiteral("Could not load plugin: ")))
        << traces.texts().first().toStdString();
    EXPECT_EQ(traces.files().first(), QStringLiteral("impl/pluginmanager"));
    EXPECT_EQ(manager.getPlugins().size(), 1);

    EXPECT_EQ(manager.createProcessor(infoFor("nosuchplugin.Thing")), nullptr);
    EXPECT_EQ(traces.count(), 2);
}

TEST(PluginManagerTest, LoadsAFileByTheDottedTypeAndThenKnowsItsBareTypes)
{
    zel::PluginManager manager;
    EXPECT_EQ(manager.getPlugin(QStringLiteral("Store")), nullptr) << "nothing is loaded for a bare type";

    zel::Plugin* const store = manager.getPlugin(QStringLiteral("storeplugin.Store"));
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(store->getName(), QStringLiteral("storeplugin"));
    EXPECT_EQ(manager.getPlugin(QStringLiteral("Store")), store);
    EXPECT_EQ(manager.getPlugin(QStringLiteral("storeplugin.Other")), store);
    EXPECT_EQ(manager.createProcessor(infoFor("storeplugin.Other")), nullptr);
    EXPECT_EQ(manager.getPlugins().size(), 2);
}

TEST(PluginManagerTest, AFileWhosePluginHasAnotherNameIsLoadedAtEachUse)
{
    zel::PluginManager manager;
    zel::Plugin* const first = manager.getPlugin(QStringLiteral("aliasplugin.Store"));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->getName(), QStringLiteral("notalias"));
    EXPECT_EQ(manager.getPlugin(QStringLiteral("aliasplugin.Store")), first);
    EXPECT_EQ(manager.getPlugins(), (QList<zel::Plugin*> { manager.getPlugins().first(), first, first }));
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
        zeltest::TraceCapture traces;
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

TEST_F(PluginsTest, GroupsMakeProcessorsFromRegisteredAndLoadedPlugins)
{
    ASSERT_EQ(createGroup("G"), "Success");
    EXPECT_EQ(createProcessor("G", "dotted", "lab.Recorder"), "Success");
    EXPECT_EQ(createProcessor("G", "bare", "Recorder"), "Success");
    EXPECT_EQ(createProcessor("G", "x", "recorder"), "Error: Processor of type 'recorder' could not be created.");

    EXPECT_EQ(createProcessor("G", "s1", "storeplugin.Store"), "Success");
    EXPECT_EQ(outcome(toProcessor("G", "s1", Helper::makeGetParameterMessage("origin"))), "Success: storeplugin");
    EXPECT_EQ(createProcessor("G", "s2", "Store"), "Success") << "known by its bare type once loaded";
    EXPECT_EQ(queryProcessors("G"), "Success: bare,dotted,s1,s2");
}
