#include "counter.h"

#include "sequence.h"

namespace demo {

void Counter::handleMessage(zel::ByteStreamMessage& message, zel::ZmqByteStreamInSocket*)
{
    ++messages;
    bytes += static_cast<std::uint64_t>(message.data.size());
    std::optional<std::uint64_t> const sequence = readSequence(message.data);
    if (!sequence)
        return;
    if (lastSequence && *sequence != *lastSequence + 1)
        ++gaps;
    lastSequence = sequence;
}

bool Counter::setParameter(QString const& name, QString const& value)
{
    if (name != QLatin1String("reset"))
        return BatchedProcessor::setParameter(name, value);
    messages = bytes = gaps = 0;
    lastSequence.reset();
    return true;
}

bool Counter::getParameter(QString const& name, QString& value)
{
    if (name == QLatin1String("count"))
        value = QString::number(messages);
    else if (name == QLatin1String("bytes"))
        value = QString::number(bytes);
    else if (name == QLatin1String("gaps"))
        value = QString::number(gaps);
    else
        return BatchedProcessor::getParameter(name, value);
    return true;
}

bool Counter::getParameterList(QStringList& names)
{
    names << QStringLiteral("count") << QStringLiteral("bytes") << QStringLiteral("gaps") << QStringLiteral("reset");
    return BatchedProcessor::getParameterList(names);
}

} // namespace demo
