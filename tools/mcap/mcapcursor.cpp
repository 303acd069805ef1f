#include "mcapcursor.h"

#include "mcaperror.h"

namespace zelmcap {

McapCursor::McapCursor(char const* data, std::size_t size, std::uint64_t base)
    : data(data)
    , size(size)
    , base(base)
{ }

char const* McapCursor::take(std::uint64_t count, char const* what)
{
    if (count > left())
        throw McapError(offset(),
            std::string(what) + " needs " + std::to_string(count) + " bytes where " + std::to_string(left())
                + " are left");
    char const* const here = data + position;
    position += static_cast<std::size_t>(count);
    return here;
}

std::uint64_t McapCursor::little(int width)
{
    auto const* p = reinterpret_cast<unsigned char const*>(take(static_cast<std::uint64_t>(width), "a number"));
    std::uint64_t value = 0;
    for (int i = width - 1; i >= 0; --i)
        value = value << 8 | p[i];
    return value;
}

std::string McapCursor::string()
{
    std::uint32_t const length = u32();
    return std::string(take(length, "a string"), length);
}

StringMap McapCursor::map()
{
    std::uint32_t const length = u32();
    McapCursor entries(take(length, "a map"), length, offset() - length);
    StringMap result;
    while (!entries.atEnd()) {
        std::string key = entries.string();
        result[key] = entries.string();
    }
    return result;
}

std::map<std::uint16_t, std::uint64_t> McapCursor::idMap()
{
    std::uint32_t const length = u32();
    McapCursor entries(take(length, "a map"), length, offset() - length);
    std::map<std::uint16_t, std::uint64_t> result;
    while (!entries.atEnd()) {
        std::uint16_t const key = entries.u16();
        result[key] = entries.u64();
    }
    return result;
}

} // namespace zelmcap
