#include "mcapcompression.h"

#include "mcaperror.h"

#ifdef ZELMCAP_ZSTD
#include <zstd.h>
#endif

namespace zelmcap {

namespace {

// A fast level: the recorder must keep up with the stream.
constexpr int zstdLevel = 1;

} // namespace

bool McapCompression::available(std::string const& name)
{
#ifdef ZELMCAP_ZSTD
    if (name == "zstd")
        return true;
#endif
    return name.empty();
}

std::string McapCompression::compress(std::string const& name, std::string const& records)
{
#ifdef ZELMCAP_ZSTD
    if (name == "zstd") {
        std::string packed(ZSTD_compressBound(records.size()), '\0');
        std::size_t const length
            = ZSTD_compress(packed.data(), packed.size(), records.data(), records.size(), zstdLevel);
        if (ZSTD_isError(length))
            throw McapError(0, std::string("zstd: ") + ZSTD_getErrorName(length));
        packed.resize(length);
        return packed;
    }
#endif
    (void)name;
    return records;
}

std::string McapCompression::decompress(
    std::string const& name, char const* data, std::size_t length, std::uint64_t size, std::uint64_t offset)
{
    if (!available(name))
        throw McapError(offset, "a chunk compressed with \"" + name + "\", which this build cannot read");
    if (name.empty()) {
        if (length != size)
            throw McapError(offset,
                "an uncompressed chunk of " + std::to_string(length) + " bytes that says it has "
                    + std::to_string(size));
        return std::string(data, length);
    }
#ifdef ZELMCAP_ZSTD
    std::string records(static_cast<std::size_t>(size), '\0');
    std::size_t const got = ZSTD_decompress(records.data(), records.size(), data, length);
    if (ZSTD_isError(got) || got != size)
        throw McapError(offset, "a zstd chunk that does not inflate to its " + std::to_string(size) + " bytes");
    return records;
#else
    return {};
#endif
}

} // namespace zelmcap
