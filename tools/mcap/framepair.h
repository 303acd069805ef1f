#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zelmcap {

// How a recording keeps a ZEL stream message in one MCAP message: the type frame's length as a
// little-endian uint32, the type frame, then the data frame to the end.
namespace FramePair {

// The channels' message encoding.
constexpr char encoding[] = "zel.frames";

void encode(std::string& into, char const* type, std::size_t typeSize, char const* data, std::size_t dataSize);
// What comes before the data frame: the type frame with its length.
void encodeHead(std::string& into, char const* type, std::size_t typeSize);
// False when `size` bytes cannot hold what their length says.
bool decode(char const* bytes, std::size_t size, std::string& type, std::string& data);

} // namespace FramePair

} // namespace zelmcap
