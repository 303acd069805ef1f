#include "crc32.h"

#include <array>

namespace zelmcap {

namespace {

// Eight tables, so that the loop takes eight bytes a step: the recorder checksums everything it writes.
using Tables = std::array<std::array<std::uint32_t, 256>, 8>;

Tables makeTables()
{
    Tables tables {};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t c = i;
        for (int bit = 0; bit < 8; ++bit)
            c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        tables[0][i] = c;
    }
    for (std::uint32_t i = 0; i < 256; ++i) {
        for (std::size_t t = 1; t < 8; ++t)
            tables[t][i] = (tables[t - 1][i] >> 8) ^ tables[0][tables[t - 1][i] & 0xFF];
    }
    return tables;
}

Tables const& tables()
{
    static Tables const built = makeTables();
    return built;
}

} // namespace

void Crc32::update(void const* data, std::size_t size)
{
    Tables const& t = tables();
    auto const* p = static_cast<unsigned char const*>(data);
    std::uint32_t c = state;
    for (; size >= 8; size -= 8, p += 8) {
        std::uint32_t const low = c
            ^ (std::uint32_t(p[0]) | std::uint32_t(p[1]) << 8 | std::uint32_t(p[2]) << 16 | std::uint32_t(p[3]) << 24);
        c = t[7][low & 0xFF] ^ t[6][(low >> 8) & 0xFF] ^ t[5][(low >> 16) & 0xFF] ^ t[4][low >> 24] ^ t[3][p[4]]
            ^ t[2][p[5]] ^ t[1][p[6]] ^ t[0][p[7]];
    }
    for (; size > 0; --size, ++p)
        c = t[0][(c ^ *p) & 0xFF] ^ (c >> 8);
    state = c;
}

std::uint32_t Crc32::of(void const* data, std::size_t size)
{
    Crc32 crc;
    crc.update(data, size);
    return crc.value();
}

} // namespace zelmcap
