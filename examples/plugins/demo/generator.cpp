#include "generator.h"

#include "sequence.h"

#include <algorithm>

namespace demo {

namespace {

// What one idle call sends at most, so that control messages are never held up for long.
constexpr std::uint64_t burstMessages = 256;
constexpr std::uint64_t burstBytes = 256 * 1024;
constexpr int defaultSize = 64;

bool parseCount(QString const& text, std::uint64_t& value)
{
    bool ok = false;
    qulonglong const parsed = text.toULongLong(&ok);
    if (ok)
        value = parsed;
    return ok;
}

} // namespace

Generator::Generator(zelmsg::Processor const& configuration, std::string const& processorName,
    std::string const& groupName, std::string const& addressPrefix)
    : StreamProcessor(configuration, processorName, groupName, addressPrefix)
    , outgoing { QByteArray::fromStdString(getDataStreamName()), makePattern(defaultSize) }
{ }

bool Generator::initialize()
{
    if (!StreamProcessor::initialize())
        return false;
    schedule();
    return true;
}

void Generator::handleMessage(zel::ByteStreamMessage&, zel::ZmqByteStreamInSocket*) { }

void Generator::schedule()
{
    pacing.start();
    sentSincePacing = 0;
    if (!runFlag || finished())
        return disableIdleProcessing();
    enableIdleProcessing(rate == 0 ? 0 : static_cast<int>(std::clamp<std::uint64_t>(1000 / rate, 1, 20)));
}

bool Generator::sendNext()
{
    writeSequence(outgoing.data, sent);
    if (!outputWrapper->trySendMessage(outgoing))
        return false;
    ++sent;
    return true;
}

std::uint64_t Generator::due() const
{
    std::uint64_t const burst
        = std::clamp<std::uint64_t>(burstBytes / static_cast<std::uint64_t>(size()), 1, burstMessages);
    if (rate == 0)
        return burst;
    std::uint64_t const expected = static_cast<std::uint64_t>(pacing.elapsed()) * rate / 1000;
    return std::min(expected - std::min(expected, sentSincePacing), burst);
}

void Generator::doIdleProcessing()
{
    std::uint64_t n = due();
    if (count > 0)
        n = std::min(n, count - sent);
    std::uint64_t done = 0;
    while (done < n && sendNext())
        ++done;
    sentSincePacing += done;
    if (finished())
        return disableIdleProcessing();
    // Only a lossless stream refuses a message: its slowest subscriber is full. Spinning on that
    // would take the processor a subscriber needs, so wait a millisecond (a fraction of what the
    // queues hold) while the subscribers catch up.
    bool const full = done < n;
    if (full && !waitingForRoom)
        enableIdleProcessing(1);
    else if (!full && waitingForRoom)
        schedule();
    waitingForRoom = full;
}

bool Generator::start(QString const& streamName)
{
    StreamProcessor::start(streamName);
    schedule();
    return true;
}

bool Generator::stop(QString const& streamName)
{
    StreamProcessor::stop(streamName);
    schedule();
    return true;
}

bool Generator::setParameter(QString const& name, QString const& value)
{
    std::uint64_t number = 0;
    if (name == QLatin1String("type") && !value.isEmpty())
        outgoing.type = value.toUtf8();
    else if (name == QLatin1String("rate") && parseCount(value, number))
        rate = number;
    else if (name == QLatin1String("count") && parseCount(value, number))
        count = number;
    else if (name == QLatin1String("lossless") && parseCount(value, number) && number <= 1)
        setLossless(number == 1);
    else if (name == QLatin1String("size") && parseCount(value, number) && number >= sequenceSize
        && number <= (64u << 20))
        outgoing.data = makePattern(static_cast<int>(number));
    else
        return false;
    schedule();
    return true;
}

void Generator::setLossless(bool on)
{
    lossless = on;
    outputSocket->set(zmq::sockopt::xpub_nodrop, on ? 1 : 0);
}

bool Generator::getParameter(QString const& name, QString& value)
{
    if (name == QLatin1String("rate"))
        value = QString::number(rate);
    else if (name == QLatin1String("size"))
        value = QString::number(size());
    else if (name == QLatin1String("type"))
        value = QString::fromUtf8(outgoing.type);
    else if (name == QLatin1String("count"))
        value = QString::number(count);
    else if (name == QLatin1String("sent"))
        value = QString::number(sent);
    else if (name == QLatin1String("lossless"))
        value = QString::number(lossless ? 1 : 0);
    else
        return false;
    return true;
}

bool Generator::getParameterList(QStringList& names)
{
    names << QStringLiteral("rate") << QStringLiteral("size") << QStringLiteral("type") << QStringLiteral("count")
          << QStringLiteral("sent") << QStringLiteral("lossless");
    return true;
}

} // namespace demo
