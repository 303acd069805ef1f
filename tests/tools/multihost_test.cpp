#include "support/keyring.h"
#include "support/polling.h"
#include "support/zelctlrun.h"
#include "support/zelhostprocess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <csignal>
#include <memory>
#include <unistd.h>

// Two machines made of network namespaces joined by a veth pair, a zelhost on each: the
// Generator on one, Relay and Counter on the other; plain, and again with CURVE on both.

using testing::Contains;
using testing::HasSubstr;

namespace {

int ip(QStringList const& arguments) { return QProcess::execute(QStringLiteral("ip"), arguments); }

QStringList ipLines(QStringList const& arguments)
{
    QProcess process;
    process.start(QStringLiteral("ip"), arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

// Namespaces "zelmh<pid>a" and "zelmh<pid>b" with 10.77.0.1 and 10.77.0.2, deleted again however
// the test ends. Those of runs that were killed are deleted first.
class TwoMachines
{
public:
    TwoMachines()
    {
        deleteLeftovers();
        QString const a = name(QLatin1Char('a')), b = name(QLatin1Char('b'));
        ready = ip({ "netns", "add", a }) == 0 && ip({ "netns", "add", b }) == 0
            && ip({ "-n", a, "link", "add", "zel0", "type", "veth", "peer", "name", "zel0", "netns", b }) == 0
            && configure(a, "10.77.0.1/24") && configure(b, "10.77.0.2/24");
    }
    ~TwoMachines()
    {
        ip({ "netns", "delete", name(QLatin1Char('a')) });
        ip({ "netns", "delete", name(QLatin1Char('b')) });
    }

    bool ready = false;
    QString name(QChar machine) const { return prefix + QString::number(::getpid()) + machine; }
    QStringList exec(QChar machine) const { return { "ip", "netns", "exec", name(machine) }; }

private:
    static bool configure(QString const& ns, QString const& address)
    {
        return ip({ "-n", ns, "addr", "add", address, "dev", "zel0" }) == 0
            && ip({ "-n", ns, "link", "set", "zel0", "up" }) == 0 && ip({ "-n", ns, "link", "set", "lo", "up" }) == 0;
    }

    // The zelhosts of a killed run outlive it inside its namespaces.
    static void deleteLeftovers()
    {
        for (QString const& entry : ipLines({ "netns", "list" })) {
            QString const ns = entry.section(QLatin1Char(' '), 0, 0);
            pid_t const owner = ns.mid(prefix.size(), ns.size() - prefix.size() - 1).toInt();
            if (!ns.startsWith(prefix) || owner <= 0 || ::kill(owner, 0) == 0)
                continue;
            for (QString const& line : ipLines({ "netns", "pids", ns })) {
                if (pid_t const pid = line.toInt(); pid > 0)
                    ::kill(pid, SIGKILL);
            }
            ip({ "netns", "delete", ns });
        }
    }

    static inline QString const prefix = QStringLiteral("zelmh");
};

// Its hosts are the addresses given to the namespaces.
QString const plainPipeline = QStringLiteral(ZEL_SOURCE_DIR "/examples/pipelines/twohosts.json");

QString frontendOf(char host) { return QStringLiteral("tcp://10.77.0.%1:7700").arg(host - 'a' + 1); }

// Every packet on machine a's end of the link, from the start until `taken`.
class Capture
{
public:
    explicit Capture(QStringList const& exec)
    {
        // -Z root: tcpdump would otherwise write as its own user, who cannot enter the folder.
        process.start(exec.first(),
            exec.mid(1) << QStringLiteral("tcpdump") << QStringLiteral("-i") << QStringLiteral("zel0")
                        << QStringLiteral("-U") << QStringLiteral("-Z") << QStringLiteral("root")
                        << QStringLiteral("-w") << file());
        listening = zeltest::waitUntil([&] {
            process.waitForReadyRead(10);
            errors += process.readAllStandardError();
            return errors.contains("listening on") || process.state() == QProcess::NotRunning;
        }) && errors.contains("listening on");
    }

    QByteArray taken()
    {
        process.terminate();
        process.waitForFinished(10000);
        QFile capture(file());
        return capture.open(QIODevice::ReadOnly) ? capture.readAll() : QByteArray();
    }

    bool listening = false;
    QByteArray errors;

private:
    QString file() const { return dir.filePath(QStringLiteral("link.pcap")); }

    QTemporaryDir dir;
    QProcess process;
};

// A stretch of the Generator's messages past their sequence number: 'a' + i % 26 from i = 8.
QByteArray const dataPattern = QByteArrayLiteral("ijklmnopqrstuvwxyzabcdefgh");

// The two-host pipeline with each host's public key beside its address.
QString securedPipeline(QTemporaryDir const& dir, zeltest::KeyRing& keys)
{
    QFile plain(plainPipeline);
    plain.open(QIODevice::ReadOnly);
    QJsonObject root = QJsonDocument::fromJson(plain.readAll()).object();
    root[QStringLiteral("hostKeys")]
        = QJsonObject { { "a", keys.publicKeyFile("a") }, { "b", keys.publicKeyFile("b") } };
    return zeltest::writeFile(dir, QStringLiteral("twohosts.json"), QJsonDocument(root).toJson());
}

class Multihost : public testing::TestWithParam<bool>
{
};

} // namespace

TEST_P(Multihost, AGeneratorFeedsACounterOnAnotherMachine)
{
    if (::geteuid() != 0 || QStandardPaths::findExecutable(QStringLiteral("ip")).isEmpty())
        GTEST_SKIP() << "needs root and ip (iproute2) to make network namespaces";
    TwoMachines machines;
    if (!machines.ready)
        GTEST_SKIP() << "cannot make network namespaces here (no CAP_SYS_ADMIN?)";

    bool const secured = GetParam();
    zeltest::KeyRing keys;
    QTemporaryDir dir;
    // zelctl's key is let in on both; b's, for the Relay on b that takes a's stream, on a.
    keys.authorize("a", "zelctl");
    keys.authorize("a", "b");
    keys.authorize("b", "zelctl");
    QString const pipeline = secured ? securedPipeline(dir, keys) : plainPipeline;

    std::unique_ptr<zeltest::ZelhostProcess> hosts[2];
    for (int i = 0; i < 2; ++i) {
        QString const name(QLatin1Char('a' + i));
        hosts[i] = std::make_unique<zeltest::ZelhostProcess>(
            QStringLiteral("EnvironmentAddress=%1\n").arg(frontendOf(char('a' + i)))
            + (secured ? keys.hostSettings(name) : QString()));
        hosts[i]->address = frontendOf(char('a' + i));
        hosts[i]->process().setProgram(QStringLiteral("ip"));
        hosts[i]->process().setArguments(machines.exec(QLatin1Char('a' + i)).mid(1)
            << QStringLiteral(ZEL_BIN_DIR "/zelhost") << QStringLiteral("zeltest"));
        ASSERT_TRUE(hosts[i]->startReady());
    }
    Capture capture(machines.exec(QLatin1Char('a')));
    ASSERT_TRUE(capture.listening) << capture.errors.toStdString();
    // zelctl runs on machine a and reaches b over the veth pair.
    auto zelctl = [&](QStringList const& arguments, char host) {
        QStringList const options = secured ? keys.zelctlKeys("zelctl", QString(QLatin1Char(host))) : QStringList();
        return zeltest::runZelctl(options + arguments, frontendOf(host), machines.exec(QLatin1Char('a')));
    };

    zeltest::ZelctlResult const applied = zelctl({ "apply", pipeline }, 'a');
    ASSERT_EQ(applied.exitCode, 0) << applied;
    // The Generator registered tcp://0.0.0.0:PORT, which b cannot dial.
    EXPECT_THAT(applied.out,
        HasSubstr("connected processor sink/relay on b to stream numbers of group source on a "
                  "at tcp://10.77.0.1:"));
    auto value = [&](QString const& name) { return zelctl({ "get", "sink", "counter", name }, 'b').out; };
    EXPECT_TRUE(zeltest::waitUntil([&] { return QString::fromStdString(value("count")).toInt() >= 500; }))
        << value("count");
    EXPECT_EQ(value("gaps"), "0\n");

    // By hand the same: a second Counter on b connected to the stream on a.
    zelctl({ "create", "sink", "second", "demo.Counter", "--stream", "c2", "--stream-address", "inproc://c2" }, 'b');
    QString const streamHost = secured
        ? frontendOf('a') + QStringLiteral("#serverkey=") + QString::fromStdString(keys.publicKey("a"))
        : frontendOf('a');
    zeltest::ZelctlResult const connected = zelctl(
        { "connect", "sink", "second", "numbers", "--stream-group", "source", "--stream-host", streamHost }, 'b');
    EXPECT_EQ(connected.exitCode, 0) << connected;
    EXPECT_TRUE(zeltest::waitUntil([&] { return zelctl({ "get", "sink", "second", "count" }, 'b').out != "0\n"; }));
    zelctl({ "delete", "sink", "second" }, 'b');

    zeltest::ZelctlResult const down = zelctl({ "down", pipeline }, 'a');
    EXPECT_EQ(down.exitCode, 0) << down;
    EXPECT_THAT(down.lines(), Contains("deleted group source on a"));
    EXPECT_THAT(down.lines(), Contains("deleted group sink on b"));
    EXPECT_EQ(zelctl({ "groups" }, 'a').out + zelctl({ "groups" }, 'b').out, "");

    // With keys the Generator's messages cross the link encrypted, so their bytes are not in it.
    QByteArray const link = capture.taken();
    ASSERT_GT(link.size(), 10000) << "the capture holds the whole run";
    EXPECT_EQ(link.contains(dataPattern), !secured);
}

INSTANTIATE_TEST_SUITE_P(PlainAndSecured, Multihost, testing::Values(false, true),
    [](testing::TestParamInfo<bool> const& info) { return info.param ? "withKeys" : "plain"; });
