#include "support/tracecapture.h"

#include <zel/context.h>
#include <zel/curvekeys.h>
#include <zel/curvesecurity.h>
#include <zel/zaphandler.h>
#include <zel/zmqcontrollablethread.h>
#include <zel/zmqhelper.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <memory>
#include <optional>
#include <string>

// The process's CURVE through ZmqHelper, with a ZAP handler, in one process.

using testing::HasSubstr;
using zel::CurveSecurity;
using zel::ZmqHelper;

namespace {

// CURVE on for the test's lifetime, letting in the host's own key and `guest`.
class Curve : public testing::Test
{
protected:
    Curve()
        : zap(std::make_unique<zel::ZapHandler>(std::set<std::string> { host.publicKey, guest.publicKey }))
    {
        CurveSecurity::enable(host, host.publicKey);
    }
    ~Curve() override { CurveSecurity::disable(); }

    zmq::socket_t publisher(std::string& address)
    {
        zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::pub);
        socket.set(zmq::sockopt::linger, 0);
        ZmqHelper::bindSocket(socket, address);
        return socket;
    }

    zel::CurveKeyPair const host = zel::CurveKeys::generate();
    zel::CurveKeyPair const guest = zel::CurveKeys::generate();
    zel::ZmqControllableThread<zel::ZapHandler> zap;
};

// A subscriber with `keys` (none: plain) that trusts `serverKey`, made without the process's setting.
zmq::socket_t subscriber(std::string const& address, zel::CurveKeyPair const* keys, std::string const& serverKey)
{
    zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::sub);
    socket.set(zmq::sockopt::linger, 0);
    socket.set(zmq::sockopt::subscribe, "");
    if (keys) {
        socket.set(zmq::sockopt::curve_publickey, keys->publicKey);
        socket.set(zmq::sockopt::curve_secretkey, keys->secretKey);
        socket.set(zmq::sockopt::curve_serverkey, serverKey);
    }
    socket.connect(address);
    return socket;
}

// Publishes until `socket` receives, up to the deadline; or once more for a short wait that stands
// for "never" when `expected` is false.
bool receives(zmq::socket_t& publisher, zmq::socket_t& socket, bool expected)
{
    auto const deadline
        = std::chrono::steady_clock::now() + (expected ? std::chrono::seconds(10) : std::chrono::milliseconds(300));
    zmq::pollitem_t item { socket.handle(), 0, ZMQ_POLLIN, 0 };
    while (std::chrono::steady_clock::now() < deadline) {
        publisher.send(zmq::str_buffer("x"), zmq::send_flags::none);
        if (zmq::poll(&item, 1, std::chrono::milliseconds(10)) > 0)
            return true;
    }
    return false;
}

} // namespace

TEST_F(Curve, ATcpStreamLetsInItsHostAndAuthorizedKeysOnly)
{
    zeltest::TraceCapture traces;
    std::string address = "tcp://127.0.0.1:*";
    zmq::socket_t pub = publisher(address);
    zel::CurveKeyPair const stranger = zel::CurveKeys::generate();

    // The host's own processors connect through ZmqHelper, trusting the host's key by default.
    zmq::socket_t own = zel::Context::createSocket(zmq::socket_type::sub);
    own.set(zmq::sockopt::linger, 0);
    own.set(zmq::sockopt::subscribe, "");
    ZmqHelper::connectSocket(own, address);
    EXPECT_TRUE(receives(pub, own, true));

    zmq::socket_t invited = subscriber(address, &guest, host.publicKey);
    EXPECT_TRUE(receives(pub, invited, true));
    zmq::socket_t plain = subscriber(address, nullptr, {});
    EXPECT_FALSE(receives(pub, plain, false));
    zmq::socket_t refused = subscriber(address, &stranger, host.publicKey);
    EXPECT_FALSE(receives(pub, refused, false));
    ASSERT_TRUE(traces.waitForCount(1));
    EXPECT_THAT(traces.texts().first().toStdString(),
        HasSubstr("refused a client at 127.0.0.1: its key " + stranger.publicKey + " is not authorized"));
}

TEST_F(Curve, InprocAndIpcStayPlainEvenOnASocketWithATcpEndpoint)
{
    QTemporaryDir dir;
    std::string tcp = "tcp://127.0.0.1:*";
    zmq::socket_t pub = publisher(tcp);
    std::string ipc = "ipc://" + dir.filePath("stream").toStdString();
    std::string inproc = "inproc://curvesecurity-plain";
    ZmqHelper::bindSocket(pub, ipc);
    ZmqHelper::bindSocket(pub, inproc);
    for (std::string const& address : { ipc, inproc }) {
        zmq::socket_t plain = subscriber(address, nullptr, {});
        EXPECT_TRUE(receives(pub, plain, true)) << address;
    }
}

TEST_F(Curve, AConnectTrustsTheServerKeyAfterItsAddress)
{
    zel::CurveKeyPair const other = zel::CurveKeys::generate();
    // A publisher of another host: its own server key, and a ZAP handler that knows our host.
    zmq::socket_t pub = zel::Context::createSocket(zmq::socket_type::pub);
    pub.set(zmq::sockopt::linger, 0);
    pub.set(zmq::sockopt::curve_server, 1);
    pub.set(zmq::sockopt::curve_secretkey, other.secretKey);
    pub.bind("tcp://127.0.0.1:*");
    std::string const address = pub.get(zmq::sockopt::last_endpoint);

    zmq::socket_t keyed = zel::Context::createSocket(zmq::socket_type::sub);
    keyed.set(zmq::sockopt::linger, 0);
    keyed.set(zmq::sockopt::subscribe, "");
    ZmqHelper::connectSocket(keyed, CurveSecurity::withServerKey(address, other.publicKey));
    EXPECT_TRUE(receives(pub, keyed, true));

    std::string key;
    EXPECT_EQ(CurveSecurity::splitServerKey(address, key), address);
    EXPECT_EQ(key, "");
    EXPECT_EQ(CurveSecurity::serverKeyFor(address), host.publicKey);
    EXPECT_EQ(CurveSecurity::serverKeyFor(CurveSecurity::withServerKey(address, other.publicKey)), other.publicKey);
}

TEST(CurveKeys, FilesHoldOneKeyAndASecretOneOnlyForItsOwner)
{
    QTemporaryDir dir;
    QString error;
    zel::CurveKeyPair const pair = zel::CurveKeys::generate();
    ASSERT_TRUE(zel::CurveKeys::writeKeyPair(dir.filePath("k"), pair, error)) << error.toStdString();
    EXPECT_FALSE(zel::CurveKeys::writeKeyPair(dir.filePath("k"), pair, error));
    zel::CurveKeyPair read;
    ASSERT_TRUE(zel::CurveKeys::readKeyPair(dir.filePath("k.key"), read, error)) << error.toStdString();
    EXPECT_EQ(read.publicKey, pair.publicKey);
    EXPECT_EQ(read.secretKey, pair.secretKey);

    std::string key;
    EXPECT_FALSE(zel::CurveKeys::readKey(dir.filePath("none"), key, error));
    EXPECT_FALSE(zel::CurveKeys::isKey(pair.publicKey.substr(1)));
    EXPECT_FALSE(zel::CurveKeys::isKey(std::string(40, ' ')));
    EXPECT_EQ(zel::CurveKeys::publicKeyOf("not a key"), "");
}
