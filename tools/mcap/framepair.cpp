#include "framepair.h"

namespace zelmcap {

void FramePair::encodeHead(std::string& into, char const* type, std::size_t typeSize)
{
    into.clear();
    for (int i = 0; i < 4; ++i)
        into.push_back(static_cast<char>((typeSize >> (8 * i)) & 0xFF));
    into.append(type, typeSize);
}

void FramePair::encode(
    std::string& into, char const* type, std::size_t typeSize, char const* data, std::size_t dataSize)
{
    encodeHead(into, type, typeSize);
    into.append(data, dataSize);
}

bool FramePair::decode(char const* bytes, std::size_t size, std::string& type, std::string& data)
{
    if (size < 4)
        return false;
    auto const* p = reinterpret_cast<unsigned char const*>(bytes);
    std::uint64_t const typeSize
        = std::uint64_t(p[0]) | std::uint64_t(p[1]) << 8 | std::uint64_t(p[2]) << 16 | std::uint64_t(p[3]) << 24;
    if (typeSize > size - 4)
        return false;
    type.assign(bytes + 4, static_cast<std::size_t>(typeSize));
    data.assign(bytes + 4 + typeSize, size - 4 - static_cast<std::size_t>(typeSize));
    return true;
}

} // namespace zelmcap
