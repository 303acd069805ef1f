#include <zel/zaphandler.h>

#include <zel/context.h>

#include "runtime/trace.h"

#include <algorithm>
#include <array>
#include <vector>

namespace zel {

namespace {

// The frames of a request: version, request id, domain, address, identity, mechanism, credentials.
enum Frame { Version, RequestId, Domain, Address, Identity, Mechanism, Credentials };

std::string keyBytes(std::string const& z85)
{
    std::array<uint8_t, 32> bytes {};
    if (z85.size() != 40 || !zmq_z85_decode(bytes.data(), z85.c_str()))
        return {};
    return std::string(bytes.begin(), bytes.end());
}

std::string keyText(std::string const& bytes)
{
    if (bytes.size() != 32)
        return "(none)";
    std::array<char, 41> text {};
    zmq_z85_encode(text.data(), reinterpret_cast<uint8_t const*>(bytes.data()), bytes.size());
    return text.data();
}

std::vector<std::string> receiveAll(zmq::socket_t& socket)
{
    std::vector<std::string> frames;
    do {
        zmq::message_t frame;
        if (!socket.recv(frame, zmq::recv_flags::dontwait))
            break;
        frames.emplace_back(frame.to_string());
    } while (socket.get(zmq::sockopt::rcvmore));
    return frames;
}

} // namespace

char const* const ZapHandler::endpoint = "inproc://zeromq.zap.01";

ZapHandler::ZapHandler(std::set<std::string> authorizedKeys)
{
    for (std::string const& key : authorizedKeys) {
        if (std::string bytes = keyBytes(key); !bytes.empty())
            authorized.insert(std::move(bytes));
    }
}

ZapHandler::~ZapHandler() = default;

bool ZapHandler::initialize()
{
    ZmqControllable::initialize();
    socket = std::make_unique<zmq::socket_t>(Context::createSocket(zmq::socket_type::rep));
    socket->bind(endpoint);
    socketIndex = reader.addSocket(*socket, ZMQ_POLLIN);
    return true;
}

void ZapHandler::process() { dispatchUntilStopped({ { socketIndex, this } }); }

void ZapHandler::release()
{
    if (socket)
        socket->set(zmq::sockopt::linger, 0);
    socket.reset();
}

void ZapHandler::processInput()
{
    std::vector<std::string> request = receiveAll(*socket);
    // A REP socket owes an answer even to a request short of frames, which libzmq never sends.
    bool const complete = request.size() > Mechanism;
    request.resize(std::max<size_t>(request.size(), Credentials + 1));
    // Sockets without CURVE ask only when they name a domain, which ours do not.
    bool const curve = request[Mechanism] == "CURVE";
    std::string const& key = request[Credentials];
    bool const allowed = complete && (!curve || authorized.count(key) != 0);
    if (complete && !allowed)
        ZEL_TRACE_FAILURE(QStringLiteral("refused a client at %1: its key %2 is not authorized")
                              .arg(QString::fromStdString(request[Address]), QString::fromStdString(keyText(key))));
    std::string const status = allowed ? "200" : complete ? "400" : "500";
    std::string const text = allowed ? "OK" : "key not authorized";
    std::array<std::string, 6> const reply { request[Version], request[RequestId], status, text,
        allowed ? keyText(key) : std::string(), std::string() };
    for (size_t i = 0; i < reply.size(); ++i)
        socket->send(zmq::buffer(reply[i]), i + 1 < reply.size() ? zmq::send_flags::sndmore : zmq::send_flags::none);
}

} // namespace zel
