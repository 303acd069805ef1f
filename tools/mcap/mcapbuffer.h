#pragma once

#include "mcaprecords.h"

#include <cstdint>
#include <string>

namespace zelmcap {

// Bytes being put together in the file's encoding: little-endian integers, prefixed strings and maps.
class McapBuffer
{
public:
    void u8(std::uint8_t value) { bytes.push_back(static_cast<char>(value)); }
    void u16(std::uint16_t value) { little(value, 2); }
    void u32(std::uint32_t value) { little(value, 4); }
    void u64(std::uint64_t value) { little(value, 8); }
    void raw(void const* data, std::size_t size) { bytes.append(static_cast<char const*>(data), size); }
    void string(std::string const& text);
    void map(StringMap const& entries);
    // A map of channel ids to numbers, as the chunk index and the statistics carry them.
    void map(std::map<std::uint16_t, std::uint64_t> const& entries);
    // Appends a record: its opcode, the content's length, the content.
    void record(Opcode opcode, McapBuffer const& content);

    std::string const& data() const { return bytes; }
    std::size_t size() const { return bytes.size(); }
    void clear() { bytes.clear(); }

private:
    void little(std::uint64_t value, int width);

    std::string bytes;
};

} // namespace zelmcap
