#pragma once

#include <QByteArray>

namespace zel {

// Converts each whole 32-bit word of `data`, in place, from host to network order; the last one to
// three bytes of a size that is not a multiple of 4 stay as they are.
void swapWordsToNetworkOrder(QByteArray& data);

} // namespace zel
