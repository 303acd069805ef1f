#pragma once

// The bodies of the fuzz targets, shared by the libFuzzer drivers and the corpus replay test. Each reads
// arbitrary bytes, swallows the record errors that hostile input may earn, and throws Mismatch when what
// was read does not write and read back the same.

#include <QString>

#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace zelfuzz {

struct Mismatch : std::logic_error
{
    using std::logic_error::logic_error;
};

inline void expect(bool holds, char const* what)
{
    if (!holds)
        throw Mismatch(what);
}

inline QString utf8(std::uint8_t const* data, std::size_t size)
{
    return QString::fromUtf8(reinterpret_cast<char const*>(data), static_cast<int>(size));
}

// zelmsg::ControlMessage from XML text, read as a receiver reads it.
void controlXml(std::uint8_t const* data, std::size_t size);
// The first byte picks the record, the form (tagged or positional) and the validate flag; the rest is the
// stream.
void recordBinary(std::uint8_t const* data, std::size_t size);
// zel::decodeControlRecord of an envelope whose payload is the bytes.
void envelope(std::uint8_t const* data, std::size_t size);
// A processor configuration from XML, validated, then edited with ConfigTool.
void processorConfig(std::uint8_t const* data, std::size_t size);

} // namespace zelfuzz
