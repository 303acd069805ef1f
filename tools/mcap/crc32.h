#pragma once

#include <cstddef>
#include <cstdint>

namespace zelmcap {

// The CRC-32 of zlib and PNG (reflected, polynomial 0xEDB88320), fed in pieces.
class Crc32
{
public:
    void update(void const* data, std::size_t size);
    std::uint32_t value() const { return ~state; }

    static std::uint32_t of(void const* data, std::size_t size);

private:
    std::uint32_t state = 0xFFFFFFFFu;
};

} // namespace zelmcap
