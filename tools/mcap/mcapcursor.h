#pragma once

#include "mcaprecords.h"

#include <cstdint>
#include <string>

namespace zelmcap {

// Reads the file's encoding out of a piece of it; anything that runs past the end throws a
// McapError with the file offset where it happened.
class McapCursor
{
public:
    // `base` is where `data` lies in the file.
    McapCursor(char const* data, std::size_t size, std::uint64_t base);

    std::uint8_t u8() { return static_cast<std::uint8_t>(little(1)); }
    std::uint16_t u16() { return static_cast<std::uint16_t>(little(2)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(little(4)); }
    std::uint64_t u64() { return little(8); }
    std::string string();
    StringMap map();
    std::map<std::uint16_t, std::uint64_t> idMap();
    // The next `size` bytes, in place.
    char const* take(std::uint64_t size, char const* what);

    std::uint64_t offset() const { return base + position; }
    std::size_t left() const { return size - position; }
    bool atEnd() const { return position == size; }

private:
    std::uint64_t little(int width);

    char const* data;
    std::size_t size;
    std::uint64_t base;
    std::size_t position = 0;
};

} // namespace zelmcap
