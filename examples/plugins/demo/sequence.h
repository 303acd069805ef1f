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
// Makes `data` the message of that number by writing it over the front, in place.
void writeSequence(QByteArray& data, std::uint64_t sequence);
// The sequence number of a message, if it is long enough to carry one.
std::optional<std::uint64_t> readSequence(QByteArray const& data);

} // namespace demo
