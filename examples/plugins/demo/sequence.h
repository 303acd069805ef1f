#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>

namespace demo {

// The demo's data: a running sequence number in the first 8 bytes, big-endian, then a fixed
// pattern, so that a receiver can check order and loss.
constexpr int sequenceSize = 8;

QByteArray makeSequencedData(std::uint64_t sequence, int size);
// The sequence number of a message, if it is long enough to carry one.
std::optional<std::uint64_t> readSequence(QByteArray const& data);

} // namespace demo
