// zelctl serve seen through a real browser: zelhost runs the demo pipeline, zelctl serve shows it,
// and headless Chromium renders the page; the DOM it leaves must show the three processors and the
// two streams between them with their rates. A screenshot is left in the build folder.

#include "support/polling.h"
#include "support/zelctlrun.h"
#include "support/zelhostprocess.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <httplib.h>

#include <utility>

namespace {

QString const demoFile = QStringLiteral(ZEL_SOURCE_DIR "/examples/pipelines/demo.json");
QString const screenshot = QStringLiteral(ZEL_BIN_DIR "/../zelctl-serve.png");

// zelctl serve on a free loopback port, for as long as the object lives.
class Server
{
public:
    explicit Server(QString const& address)
        : process(zeltest::startZelctl({ "serve", "--listen", "127.0.0.1:0" }, address))
    { }
    ~Server()
    {
        process->terminate();
        if (!process->waitForFinished(10000))
            process->kill();
    }

    // The page's address, from the line zelctl prints once it listens.
    QString url()
    {
        if (!zeltest::waitUntil([&] { return process->canReadLine(); }))
            return {};
        QRegularExpressionMatch const match
            = QRegularExpression(QStringLiteral("^serving (http://[^ ]+) \\(loopback only"))
                  .match(QString::fromUtf8(process->readLine()));
        return match.hasMatch() ? match.captured(1) : QString();
    }

    std::unique_ptr<QProcess> const process;
};

// True once the JSON behind the page has both links with messages flowing.
bool ratesFlow(QString const& url)
{
    QUrl const parsed(url);
    httplib::Client client(parsed.host().toStdString(), parsed.port());
    httplib::Result const result = client.Get("/api/top");
    if (!result || result->status != 200)
        return false;
    QJsonArray const links
        = QJsonDocument::fromJson(QByteArray::fromStdString(result->body)).object()[QStringLiteral("links")].toArray();
    int flowing = 0;
    for (QJsonValue const& link : links)
        flowing += link[QStringLiteral("msgPerSec")].toDouble() > 0 ? 1 : 0;
    return flowing == 2;
}

// Headless Chromium on `url`; its standard output, or empty when it failed.
QString chromium(QStringList const& arguments, QString const& url)
{
    QTemporaryDir profile;
    QProcess browser;
    // As root (in CI containers) Chromium refuses its sandbox; the page is our own.
    browser.start(QStandardPaths::findExecutable(QStringLiteral("chromium")),
        QStringList { "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
            "--user-data-dir=" + profile.path(), "--window-size=1000,420", "--virtual-time-budget=4000" }
            + arguments + QStringList { url });
    if (!browser.waitForFinished(60000) || browser.exitCode() != 0)
        return {};
    return QString::fromUtf8(browser.readAllStandardOutput());
}

// The SVG groups of one class that Graphviz writes, each as its text.
QStringList svgGroups(QString const& dom, QString const& kind)
{
    QStringList groups;
    QRegularExpression const group(QStringLiteral("<g id=\"[a-z0-9]+\" class=\"%1\">(.*?)</g>").arg(kind),
        QRegularExpression::DotMatchesEverythingOption);
    for (auto it = group.globalMatch(dom); it.hasNext();)
        groups << it.next().captured(1);
    return groups;
}

TEST(ServeInBrowser, ShowsTheDemoPipelineWithRates)
{
    if (QStandardPaths::findExecutable(QStringLiteral("chromium")).isEmpty())
        GTEST_SKIP() << "chromium is not installed (scripts/install-deps.sh installs it)";
    auto host = zeltest::ZelhostProcess::listeningAt();
    ASSERT_TRUE(host->startReady());
    zeltest::ZelctlResult const applied = zeltest::runZelctl({ "apply", demoFile }, host->address);
    ASSERT_EQ(applied.exitCode, 0) << applied;
    Server server(host->address);
    QString const url = server.url();
    ASSERT_FALSE(url.isEmpty()) << server.process->readAllStandardError().toStdString();
    ASSERT_TRUE(zeltest::waitUntil([&] { return ratesFlow(url); }));

    QString const dom = chromium({ "--dump-dom" }, url);
    ASSERT_FALSE(dom.isEmpty());
    QStringList const nodes = svgGroups(dom, QStringLiteral("node"));
    ASSERT_EQ(nodes.size(), 3) << dom.toStdString();
    std::pair<QString, QString> const processors[]
        = { { "generator", "demo.Generator" }, { "relay", "demo.Relay" }, { "counter", "demo.Counter" } };
    for (auto const& [name, type] : processors) {
        EXPECT_EQ(nodes.filter(">" + name + "</text>").filter(">" + type + "</text>").size(), 1)
            << name.toStdString() << "\n"
            << dom.toStdString();
    }
    QStringList const edges = svgGroups(dom, QStringLiteral("edge"));
    ASSERT_EQ(edges.size(), 2) << dom.toStdString();
    QRegularExpression const rate(QStringLiteral(">([0-9]+) msg/s</text>"));
    for (QString const& edge : edges) {
        QRegularExpressionMatch const match = rate.match(edge);
        ASSERT_TRUE(match.hasMatch()) << edge.toStdString();
        EXPECT_GT(match.captured(1).toInt(), 0) << edge.toStdString();
    }
    // The table of top, one row per processor.
    EXPECT_EQ(dom.count(QStringLiteral("data-processor=\"demo/")), 3) << dom.toStdString();

    QFile::remove(screenshot);
    chromium({ "--screenshot=" + screenshot }, url);
    EXPECT_TRUE(QFile::exists(screenshot));
}

} // namespace
