#include "tap.h"

#include "identities.h"
#include "interruption.h"
#include "reply.h"

#include <zel/context.h>
#include <zel/controlmessagehelper.h>
#include <zel/zmqhelper.h>

#include <QByteArray>

#include <zmq.hpp>

#include <chrono>
#include <cstdint>
#include <cstdio>

namespace {

using namespace std::chrono_literals;

// Printable ASCII as it is, the rest as C escapes, so that one message stays on one line.
QByteArray escaped(QByteArray const& bytes)
{
    QByteArray text;
    for (char const c : bytes) {
        if (c == '\\')
            text += "\\\\";
        else if (c >= 0x20 && c < 0x7f)
            text += c;
        else
            text += "\\x" + QByteArray::number(static_cast<unsigned char>(c), 16).rightJustified(2, '0');
    }
    return text;
}

// The classic dump: offset, sixteen bytes in hex, the same as text.
QByteArray hexDump(QByteArray const& data)
{
    QByteArray dump;
    for (int offset = 0; offset < data.size(); offset += 16) {
        QByteArray const row = data.mid(offset, 16);
        QByteArray hex = row.toHex(' ').leftJustified(16 * 3 - 1, ' ');
        QByteArray text = row;
        for (char& c : text)
            c = c >= 0x20 && c < 0x7f ? c : '.';
        dump += "  " + QByteArray::number(offset, 16).rightJustified(4, '0') + "  " + hex + "  " + text + '\n';
    }
    return dump;
}

void write(QByteArray const& bytes) { std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout); }

void show(QString const& format, QByteArray const& type, QByteArray const& data)
{
    if (format == QLatin1String("raw"))
        return write(data);
    QByteArray const header = escaped(type) + "  " + QByteArray::number(data.size()) + " bytes";
    if (format == QLatin1String("text"))
        write(header + "  " + escaped(data) + '\n');
    else
        write(header + '\n' + hexDump(data));
    std::fflush(stdout); // someone is watching
}

// Messages and bytes (both frames) per second, once a second.
class RateMeter
{
public:
    void count(QByteArray const& type, QByteArray const& data)
    {
        ++messages;
        bytes += static_cast<std::uint64_t>(type.size() + data.size());
    }

    void report()
    {
        auto const now = std::chrono::steady_clock::now();
        if (now - since < 1s)
            return;
        double const seconds = std::chrono::duration<double>(now - since).count();
        std::printf("%.0f msg/s  %.0f B/s\n", double(messages) / seconds, double(bytes) / seconds);
        std::fflush(stdout);
        since = now;
        messages = bytes = 0;
    }

private:
    std::chrono::steady_clock::time_point since = std::chrono::steady_clock::now();
    std::uint64_t messages = 0;
    std::uint64_t bytes = 0;
};

// Asks the group's name service for the stream's first TCP address; empty with an exit code set
// when there is none.
QString tcpAddress(Invocation& call, int& exitCode)
{
    zelmsg::ControlMessage resolve = zel::ControlMessageHelper::makeResolveStreamMessage(call.args[1].toStdString());
    std::string const nameService = Identities::nameService(call.args[0]);
    Outcome const outcome = call.client.request(nameService, resolve);
    if (outcome != Outcome::Success) {
        exitCode = conclude(call, nameService, outcome, resolve, printNothing);
        return {};
    }
    QStringList const addresses = resolve.GetStreamAddresses().toList();
    for (QString const& address : addresses) {
        if (address.startsWith(QLatin1String("tcp://")))
            return address;
    }
    // inproc and the like live inside zelhost's process: nothing outside can subscribe there.
    err(addresses.isEmpty() ? QStringLiteral("stream %1 is registered without an address").arg(call.args[1])
                            : QStringLiteral("stream %1 is published on %2 only; tap reaches TCP streams")
                                  .arg(call.args[1], addresses.join(QLatin1Char(' '))));
    exitCode = ExitFailure;
    return {};
}

// One message within a short wait; false when none came. The wait is short, so that a signal
// that lands on another thread still ends the tap soon.
bool receive(zmq::socket_t& socket, QByteArray& type, QByteArray& data)
{
    zmq::pollitem_t item { socket.handle(), 0, ZMQ_POLLIN, 0 };
    try {
        if (zmq::poll(&item, 1, 100ms) == 0)
            return false;
    } catch (zmq::error_t const& e) {
        if (e.num() == EINTR)
            return false;
        throw;
    }
    zmq::message_t frame;
    if (!socket.recv(frame, zmq::recv_flags::dontwait))
        return false;
    type = QByteArray(frame.data<char>(), static_cast<int>(frame.size()));
    data.clear();
    // The frames of one message arrive together; a third and more are not ours to show.
    for (bool first = true; frame.more(); first = false) {
        (void)socket.recv(frame);
        if (first)
            data = QByteArray(frame.data<char>(), static_cast<int>(frame.size()));
    }
    return true;
}

} // namespace

int tap(Invocation& call)
{
    QString const format = call.line.value(QStringLiteral("--format"), QStringLiteral("hex"));
    bool ok = true;
    qulonglong const limit = call.line.value(QStringLiteral("--count"), QStringLiteral("0")).toULongLong(&ok);
    if (!ok || (call.line.has(QStringLiteral("--count")) && limit == 0)
        || !QStringList { QStringLiteral("hex"), QStringLiteral("text"), QStringLiteral("raw") }.contains(format)) {
        err(QStringLiteral("--count takes a number above 0, --format hex, text or raw"));
        return ExitUsage;
    }
    int exitCode = ExitSuccess;
    QString const address = tcpAddress(call, exitCode);
    if (address.isEmpty())
        return exitCode;

    zmq::socket_t socket = zel::Context::createSocket(zmq::socket_type::sub);
    socket.set(zmq::sockopt::linger, 0);
    zel::ZmqHelper::connectSocket(socket, address.toStdString());
    QStringList const filters = call.line.values(QStringLiteral("--filter"));
    for (QString const& filter : filters)
        socket.set(zmq::sockopt::subscribe, filter.toStdString());
    if (filters.isEmpty())
        socket.set(zmq::sockopt::subscribe, "");

    catchInterruption();
    bool const rate = call.line.has(QStringLiteral("--rate"));
    RateMeter meter;
    qulonglong seen = 0; // limit 0: no end but the signal
    QByteArray type;
    QByteArray data;
    while (!interrupted() && (limit == 0 || seen < limit)) {
        if (rate)
            meter.report();
        if (!receive(socket, type, data))
            continue;
        ++seen;
        if (rate)
            meter.count(type, data);
        else
            show(format, type, data);
    }
    std::fflush(stdout);
    return ExitSuccess;
}
