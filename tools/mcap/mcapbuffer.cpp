#include "mcapbuffer.h"

namespace zelmcap {

void McapBuffer::little(std::uint64_t value, int width)
{
    for (int i = 0; i < width; ++i)
        bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

void McapBuffer::string(std::string const& text)
{
    u32(static_cast<std::uint32_t>(text.size()));
    bytes += text;
}

void McapBuffer::map(StringMap const& entries)
{
    McapBuffer content;
    for (auto const& [key, value] : entries) {
        content.string(key);
        content.string(value);
    }
    u32(static_cast<std::uint32_t>(content.size()));
    bytes += content.bytes;
}

void McapBuffer::map(std::map<std::uint16_t, std::uint64_t> const& entries)
{
    u32(static_cast<std::uint32_t>(entries.size() * (2 + 8)));
    for (auto const& [key, value] : entries) {
        u16(key);
        u64(value);
    }
}

void McapBuffer::record(Opcode opcode, McapBuffer const& content)
{
    u8(static_cast<std::uint8_t>(opcode));
    u64(content.size());
    bytes += content.bytes;
}

} // namespace zelmcap
