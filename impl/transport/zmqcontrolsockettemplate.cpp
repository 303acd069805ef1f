#include <zel/zmqcontrolsockettemplate.h>

namespace zel {

char const* leadingFrames(MessageFormat format)
{
    switch (format) {
    case AddressDelimiterPayload:
        return "ad";
    case DelimiterAddressPayload:
        return "da";
    case DelimiterPayload:
        return "d";
    case AddressPayload:
        return "a";
    default:
        return "";
    }
}

} // namespace zel
