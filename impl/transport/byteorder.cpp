#include "transport/byteorder.h"

// The one place that knows where the platform keeps htonl.
#ifdef _WIN32
#include <winsock2.h>
#else
#include <arpa/inet.h>
#endif

#include <cstdint>
#include <cstring>

namespace zel {

void swapWordsToNetworkOrder(QByteArray& data)
{
    char* bytes = data.data();
    int const words = data.size() / 4;
    for (int i = 0; i < words; ++i) {
        std::uint32_t word;
        std::memcpy(&word, bytes + 4 * i, sizeof word);
        word = htonl(word);
        std::memcpy(bytes + 4 * i, &word, sizeof word);
    }
}

} // namespace zel
