#include "support/keyring.h"
#include "support/polling.h"
#include "support/zelctlrun.h"
#include "support/zelhostprocess.h"

#include <zel/context.h>
#include <zel/curvekeys.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <memory>

#include <sys/stat.h>

// zelhost with CURVE on, driven by zelctl with and without keys that it lets in.

using testing::HasSubstr;
using testing::StartsWith;

namespace {

using Result = zeltest::ZelctlResult;

class Secured : public testing::Test
{
protected:
    void SetUp() override
    {
        keys.authorize("host", "alice");
        keys.pair("mallory");
        host = std::make_unique<zeltest::ZelhostProcess>(
            QStringLiteral("EnvironmentAddress=%1\n").arg(address) + keys.hostSettings("host"));
        host->address = address;
        ASSERT_TRUE(host->startReady());
    }

    // zelctl as `client` (none: without keys), waiting `timeoutMs` for each answer.
    Result as(QString const& client, QStringList const& arguments, int timeoutMs = 4000)
    {
        QStringList options { "--timeout", QString::number(timeoutMs) };
        if (!client.isEmpty())
            options << keys.zelctlKeys(client, "host");
        return zeltest::runZelctl(options + arguments, address);
    }

    Result alice(QStringList const& arguments)
    {
        Result const r = as("alice", arguments);
        EXPECT_EQ(r.exitCode, 0) << arguments.join(' ').toStdString() << ": " << r;
        return r;
    }

    zeltest::KeyRing keys;
    QString const address = zeltest::freeLoopbackAddress();
    std::unique_ptr<zeltest::ZelhostProcess> host;
};

// A SUB socket of this process that has received something within `waitMs`.
bool receivesFrom(std::string const& address, zel::CurveKeyPair const* keys, std::string const& serverKey, int waitMs)
{
    zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::sub);
    socket.set(zmq::sockopt::linger, 0);
    socket.set(zmq::sockopt::subscribe, "");
    socket.set(zmq::sockopt::rcvtimeo, waitMs);
    if (keys) {
        socket.set(zmq::sockopt::curve_publickey, keys->publicKey);
        socket.set(zmq::sockopt::curve_secretkey, keys->secretKey);
        socket.set(zmq::sockopt::curve_serverkey, serverKey);
    }
    socket.connect(address);
    zmq::message_t message;
    return socket.recv(message).has_value();
}

} // namespace

TEST_F(Secured, AnAuthorizedClientGetsEveryCommandAndItsStreamsFlowEncrypted)
{
    alice({ "create-group", "demo" });
    alice({ "create", "demo", "generator", "demo.Generator", "--stream", "numbers", "--stream-address",
        "tcp://127.0.0.1:*" });
    alice({ "create", "demo", "counter", "demo.Counter", "--stream", "counted", "--stream-address", "inproc://c" });
    // A TCP stream between two processors of the host: both ends secured with the host's own keys.
    alice({ "connect", "demo", "counter", "numbers" });
    alice({ "set", "demo", "generator", "rate", "2000" });
    EXPECT_TRUE(zeltest::waitUntil([&] { return as("alice", { "get", "demo", "counter", "count" }).out != "0\n"; }));
    EXPECT_EQ(alice({ "get", "demo", "counter", "gaps" }).out, "0\n");
    EXPECT_EQ(alice({ "groups" }).out, "demo\n");
    EXPECT_THAT(alice({ "graph" }).out, HasSubstr("counter"));
    Result const tapped = alice({ "tap", "demo", "numbers", "--count", "3", "--format", "text" });
    EXPECT_EQ(tapped.lines().size(), 3) << tapped;
    EXPECT_THAT(alice({ "top", "--once", "demo" }).out, HasSubstr("generator"));
    QTemporaryDir dir;
    QString const recording = dir.filePath("numbers.mcap");
    alice({ "record", "-o", recording, "demo", "numbers", "--count", "5" });
    EXPECT_GT(QFile(recording).size(), 0);

    QString const resolved = alice({ "resolve", "demo", "numbers" }).lines().value(1);
    std::string const stream = resolved.mid(resolved.indexOf(QStringLiteral("tcp://"))).toStdString();
    zel::CurveKeyPair mallory;
    QString error;
    ASSERT_TRUE(zel::CurveKeys::readKeyPair(keys.secretKeyFile("mallory"), mallory, error)) << error.toStdString();
    // Bounded waits stand for "never": the stream runs at 2000 messages per second meanwhile.
    EXPECT_FALSE(receivesFrom(stream, nullptr, {}, 300)) << "a subscriber without keys";
    EXPECT_FALSE(receivesFrom(stream, &mallory, keys.publicKey("host"), 300)) << "a key not let in";
    alice({ "delete-group", "demo" });
}

TEST_F(Secured, OthersGetNoAnswerAndAreToldWhy)
{
    Result const refused = as("mallory", { "groups" }, 1000);
    EXPECT_EQ(refused.exitCode, 3) << refused;
    EXPECT_THAT(refused.err, StartsWith("zelctl: refused by zelhost: this key is not authorized"));
    EXPECT_TRUE(zeltest::waitUntil([&] { return host->standardError().contains("refused a client at 127.0.0.1"); }))
        << host->standardError().toStdString();

    Result const plain = as({}, { "groups" }, 1000);
    EXPECT_EQ(plain.exitCode, 3) << plain;
    EXPECT_THAT(plain.err, HasSubstr("wants keys: give --key and --server-key"));

    // Alice's key, but the server key of someone else: the handshake cannot even begin.
    Result const wrongServer = zeltest::runZelctl({ "--timeout", "1000", "--key", keys.secretKeyFile("alice"),
                                                      "--server-key", keys.publicKeyFile("mallory"), "groups" },
        address);
    EXPECT_EQ(wrongServer.exitCode, 3) << wrongServer;
    EXPECT_THAT(wrongServer.err, HasSubstr("is --server-key its public key"));

    Result const half = as({}, { "--key", keys.secretKeyFile("alice"), "groups" });
    EXPECT_EQ(half.exitCode, 2) << half;
    EXPECT_THAT(half.err, HasSubstr("go together"));
}

TEST(Keys, KeygenWritesAPairThatZelhostAndZelctlRead)
{
    QTemporaryDir dir;
    QString const base = dir.filePath("client");
    Result const made = zeltest::runZelctl({ "keygen", base }, {});
    ASSERT_EQ(made.exitCode, 0) << made;
    struct stat secret
    {
    };
    ASSERT_EQ(::stat(qPrintable(base + ".key"), &secret), 0);
    EXPECT_EQ(secret.st_mode & 0777, 0600u);
    zel::CurveKeyPair pair;
    std::string published;
    QString error;
    ASSERT_TRUE(zel::CurveKeys::readKeyPair(base + ".key", pair, error)) << error.toStdString();
    ASSERT_TRUE(zel::CurveKeys::readKey(base + ".pub", published, error)) << error.toStdString();
    EXPECT_EQ(pair.publicKey, published);

    Result const again = zeltest::runZelctl({ "keygen", base }, {});
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_THAT(again.err, HasSubstr("does not overwrite"));
}

TEST(Keys, ZelhostRefusesKeysOthersCanReadAndHalfASetting)
{
    zeltest::KeyRing keys;
    QFile::setPermissions(keys.secretKeyFile("host"), QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther);
    std::pair<QString, char const*> const cases[] = {
        { keys.hostSettings("host"), "readable by others than its owner" },
        { QStringLiteral("ServerKeyFile=%1\n").arg(keys.secretKeyFile("host")), "go together" },
        { QStringLiteral("ServerKeyFile=x.key\nAuthorizedKeysFolder=.\n"), "cannot read" },
    };
    for (auto const& [settings, why] : cases) {
        zeltest::ZelhostProcess host(
            QStringLiteral("EnvironmentAddress=%1\n").arg(zeltest::freeLoopbackAddress()) + settings);
        ASSERT_TRUE(host.start());
        ASSERT_TRUE(host.waitForExit());
        EXPECT_EQ(host.process().exitCode(), 1);
        EXPECT_THAT(host.standardError().toStdString(), HasSubstr(why));
    }
}
