#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>

namespace demo {

// The demo's data: a running sequence number in the first 8 bytes, big-endian, then a fixed
// pattern, so that a receiver can check order and loss.
constexpr int sequenceSize = 8;

// The pattern of a message of `size` bytes, with room for the sequence number.
QByteArray makePattern(int size);
// A message: the pattern with the sequence number written over its front (one copy of the pattern).
QByteArray makeSequencedData(QByteArray const& pattern, std::uint64_t sequence);
// The sequence number of a message, if it is long enough to carry one.
std::optional<std::uint64_t> readSequence(QByteArray const& data);

} // namespace demo
