#include "relay.h"

namespace demo {

void Relay::handleMessage(zel::ByteStreamMessage& message, zel::ZmqByteStreamInSocket*)
{
    if (!runFlag)
        return;
    outputWrapper->sendMessage(message);
    ++forwarded;
}

bool Relay::getParameter(QString const& name, QString& value)
{
    if (name != QLatin1String("forwarded"))
        return BatchedProcessor::getParameter(name, value);
    value = QString::number(forwarded);
    return true;
}

bool Relay::getParameterList(QStringList& names)
{
    names << QStringLiteral("forwarded");
    return BatchedProcessor::getParameterList(names);
}

} // namespace demo
