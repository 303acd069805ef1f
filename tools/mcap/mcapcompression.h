#pragma once

#include <cstdint>
#include <string>

namespace zelmcap {

// The compressions a chunk may have: "" (none) and, where the build found libzstd, "zstd".
namespace McapCompression {

bool available(std::string const& name);
std::string compress(std::string const& name, std::string const& records);
// The records of a chunk, `size` bytes when inflated; throws a McapError at `offset` when they are not.
std::string decompress(
    std::string const& name, char const* data, std::size_t length, std::uint64_t size, std::uint64_t offset);

} // namespace McapCompression

} // namespace zelmcap
