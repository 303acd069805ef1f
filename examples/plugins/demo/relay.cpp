#include "relay.h"

namespace demo {

void Relay::handleMessage(zel::ByteStreamMessage& message, zel::ZmqByteStreamInSocket*)
{
    if (runFlag)
        outputWrapper->sendMessage(message);
}

} // namespace demo
