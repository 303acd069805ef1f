// zelsoak ADDRESS cycles N PID: N cycles of create group, three demo processors, connect, delete group,
//   printing the RSS, threads and open descriptors of process PID every 100 cycles.
// zelsoak ADDRESS clients N REQUESTS: N clients at once, each sending REQUESTS queries one after the
//   other, counting the replies that are lost or answer another request.
// zelsoak ADDRESS flood N: one client sends N queries and never reads an answer while another asks
//   one query after the other; prints what the flooder got out and the other's answers and slowest one.
// Exit 1 when a request failed, was lost or mismatched.

#include <zel/context.h>
#include <zel/controlmessagehelper.h>
#include <zel/decodecontrolrecord.h>
#include <zel/endpoints.h>

#include <QDir>
#include <QFile>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using zel::ControlMessageHelper;
using zel::Endpoints;
using zelmsg::ControlMessage;

std::string const prefix = zel::internalAddressPrefixDefault;
std::chrono::milliseconds const deadline(5000);

// A DEALER at zelhost's frontend, as zelctl's is: frames empty, identity with its NUL, XML.
class Client
{
public:
    explicit Client(std::string const& address)
        : socket(zel::Context::createSocket(zmq::socket_type::dealer))
    {
        socket.set(zmq::sockopt::linger, 0);
        socket.connect(address);
    }

    // The reply of `identity`, or nothing when none came in time or another peer answered.
    std::optional<ControlMessage> request(std::string const& identity, ControlMessage const& record)
    {
        std::string const target(identity.c_str(), identity.size() + 1);
        socket.send(zmq::str_buffer(""), zmq::send_flags::sndmore);
        socket.send(zmq::buffer(target), zmq::send_flags::sndmore);
        socket.send(zmq::buffer(record.GetXmlString().toUtf8().toStdString()), zmq::send_flags::none);
        zmq::pollitem_t item { socket.handle(), 0, ZMQ_POLLIN, 0 };
        if (zmq::poll(&item, 1, deadline) == 0)
            return std::nullopt;
        std::vector<zmq::message_t> frames;
        do {
            frames.emplace_back();
            (void)socket.recv(frames.back());
        } while (frames.back().more());
        if (frames.size() != 3 || frames[1].to_string() != target)
            return std::nullopt;
        zel::ControlMessage envelope { QByteArray(), QByteArray::fromStdString(frames[2].to_string()) };
        return zel::decodeControlRecord(envelope);
    }

    bool succeeds(std::string const& identity, ControlMessage const& record)
    {
        auto const reply = request(identity, record);
        return reply && reply->GetResultType() == ControlMessage::Success;
    }

private:
    zmq::socket_t socket;
};

// VmRSS in KiB, threads and open descriptors of a process, from /proc.
void printUsage(int cycle, QString const& pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    QString rss, threads;
    if (status.open(QIODevice::ReadOnly)) {
        for (QString const& line : QString::fromLatin1(status.readAll()).split(QLatin1Char('\n'))) {
            if (line.startsWith(QLatin1String("VmRSS:")))
                rss = line.mid(6).simplified();
            else if (line.startsWith(QLatin1String("Threads:")))
                threads = line.mid(8).simplified();
        }
    }
    auto const fds = QDir(QStringLiteral("/proc/%1/fd").arg(pid)).entryList(QDir::NoDotAndDotDot | QDir::AllEntries);
    std::printf("cycle %5d  rss %s  threads %s  fds %d\n", cycle, qPrintable(rss), qPrintable(threads),
        static_cast<int>(fds.size()));
    std::fflush(stdout);
}

// Generator -> Relay -> Counter in a fresh group, wired through the name service, then the group deleted.
bool cycle(Client& client, std::string const& group)
{
    std::string const manager = Endpoints::getGroupManagerEndpoint(prefix);
    std::string const groupId = Endpoints::getGroupEndpoint(group, prefix);
    std::string const names = Endpoints::getNameServiceEndpoint(group, prefix);
    if (!client.succeeds(manager, ControlMessageHelper::makeCreateProcessorGroupMessage(group)))
        return false;
    char const* const processors[][3] = { { "generator", "demo.Generator", "numbers" },
        { "relay", "demo.Relay", "relayed" }, { "counter", "demo.Counter", "counted" } };
    bool ok = true;
    for (auto const& p : processors)
        ok = ok
            && client.succeeds(groupId,
                ControlMessageHelper::makeCreateProcessorMessage(
                    p[1], p[0], ControlMessageHelper::makeProcessorConfig(p[2], "tcp://127.0.0.1:*")));
    for (int i = 1; ok && i < 3; ++i) {
        auto const resolved
            = client.request(names, ControlMessageHelper::makeResolveStreamMessage(processors[i - 1][2]));
        ok = resolved && !resolved->GetStreamAddresses().isEmpty()
            && client.succeeds(Endpoints::getProcessorEndpoint(group, processors[i][0], prefix),
                ControlMessageHelper::makeConnectStreamMessage(
                    processors[i - 1][2], resolved->GetStreamAddresses().first().toStdString(), ""));
    }
    return client.succeeds(manager, ControlMessageHelper::makeDeleteProcessorGroupMessage(group)) && ok;
}

int cycles(std::string const& address, int count, QString const& pid)
{
    Client client(address);
    int failed = 0;
    for (int i = 1; i <= count; ++i) {
        if (!cycle(client, "soak" + std::to_string(i)))
            ++failed;
        if (i == 1 || i % 100 == 0)
            printUsage(i, pid);
    }
    std::printf("cycles %d  failed %d\n", count, failed);
    return failed == 0 ? 0 : 1;
}

// Each request carries its own token in StreamName, which the manager's reply keeps.
int clients(std::string const& address, int count, int requests)
{
    std::atomic<int> lost { 0 };
    std::atomic<int> mismatched { 0 };
    std::string const manager = Endpoints::getGroupManagerEndpoint(prefix);
    std::vector<std::thread> threads;
    for (int c = 0; c < count; ++c) {
        threads.emplace_back([&, c] {
            Client client(address);
            for (int r = 0; r < requests; ++r) {
                ControlMessage query = ControlMessageHelper::makeQueryProcessorGroupsMessage();
                QString const token = QStringLiteral("c%1-r%2").arg(c).arg(r);
                query.SetStreamName(token);
                auto const reply = client.request(manager, query);
                if (!reply) {
                    ++lost;
                    client = Client(address); // a late reply must not be taken for the next one
                } else if (reply->GetStreamName() != token || reply->GetResultType() != ControlMessage::Success) {
                    ++mismatched;
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    std::printf(
        "clients %d  requests %d  lost %d  mismatched %d\n", count, count * requests, lost.load(), mismatched.load());
    return lost == 0 && mismatched == 0 ? 0 : 1;
}

// The flooder's sends give up after 10 s without room: the host has stopped reading.
int flood(std::string const& address, int count)
{
    std::string const manager = Endpoints::getGroupManagerEndpoint(prefix);
    std::string const target(manager.c_str(), manager.size() + 1);
    std::string const payload = ControlMessageHelper::makeQueryProcessorGroupsMessage().GetXmlString().toStdString();
    std::atomic<int> sent { 0 };
    std::atomic<bool> done { false };
    auto const start = std::chrono::steady_clock::now();
    std::thread flooder([&] {
        zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::dealer);
        socket.set(zmq::sockopt::linger, 0);
        socket.set(zmq::sockopt::sndtimeo, 10000);
        socket.connect(address);
        for (; sent < count; ++sent) {
            if (!socket.send(zmq::str_buffer(""), zmq::send_flags::sndmore))
                break;
            socket.send(zmq::buffer(target), zmq::send_flags::sndmore);
            socket.send(zmq::buffer(payload), zmq::send_flags::none);
        }
        done = true;
    });
    Client other(address);
    int answered = 0;
    int lost = 0;
    std::chrono::milliseconds slowest {};
    while (!done) {
        auto const asked = std::chrono::steady_clock::now();
        if (other.succeeds(manager, ControlMessageHelper::makeQueryProcessorGroupsMessage()))
            ++answered;
        else
            ++lost;
        slowest = std::max(
            slowest, std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - asked));
    }
    flooder.join();
    bool const after = other.succeeds(manager, ControlMessageHelper::makeQueryProcessorGroupsMessage());
    auto const took = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    std::printf("flood %d of %d sent in %lld ms  other client: answered %d  lost %d  slowest %lld ms  after: %s\n",
        sent.load(), count, static_cast<long long>(took.count()), answered, lost,
        static_cast<long long>(slowest.count()), after ? "answered" : "lost");
    return sent == count && lost == 0 && after ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> const args(argv + 1, argv + argc);
    if (args.size() == 4 && args[1] == "cycles")
        return cycles(args[0], std::stoi(args[2]), QString::fromStdString(args[3]));
    if (args.size() == 4 && args[1] == "clients")
        return clients(args[0], std::stoi(args[2]), std::stoi(args[3]));
    if (args.size() == 3 && args[1] == "flood")
        return flood(args[0], std::stoi(args[2]));
    std::fprintf(
        stderr, "usage: zelsoak ADDRESS cycles N PID | zelsoak ADDRESS clients N REQUESTS | zelsoak ADDRESS flood N\n");
    return 2;
}
