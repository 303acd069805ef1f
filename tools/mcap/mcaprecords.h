#pragma once

// The records of an MCAP file that ZEL writes and reads, as plain values. Integers are little-endian
// on disk; a string is a uint32 length and UTF-8; a map or an array a uint32 byte length and its
// entries.

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace zelmcap {

// 0x89 "MCAP" then the major version as a digit, "\r\n".
constexpr char magic[] = "\x89MCAP0\r\n";
constexpr std::size_t magicSize = 8;
constexpr std::size_t majorVersionOffset = 5;

enum class Opcode : std::uint8_t {
    Header = 0x01,
    Footer = 0x02,
    Schema = 0x03,
    Channel = 0x04,
    Message = 0x05,
    Chunk = 0x06,
    MessageIndex = 0x07,
    ChunkIndex = 0x08,
    Attachment = 0x09,
    AttachmentIndex = 0x0A,
    Statistics = 0x0B,
    Metadata = 0x0C,
    MetadataIndex = 0x0D,
    SummaryOffset = 0x0E,
    DataEnd = 0x0F,
};

// Opcode and content length in front of every record.
constexpr std::size_t recordPrefixSize = 1 + 8;
constexpr std::size_t footerContentSize = 8 + 8 + 4;

using StringMap = std::map<std::string, std::string>;

struct Channel
{
    std::uint16_t id = 0;
    std::uint16_t schemaId = 0; // 0: no schema
    std::string topic;
    std::string messageEncoding;
    StringMap metadata;
};

// A message as read: `data` points into the reader's buffer and lives until the next message.
struct Message
{
    std::uint16_t channelId = 0;
    std::uint32_t sequence = 0;
    std::uint64_t logTime = 0; // nanoseconds since the Unix epoch
    std::uint64_t publishTime = 0;
    char const* data = nullptr;
    std::size_t size = 0;
    std::uint64_t offset = 0; // of its record, or of its chunk's records when those are compressed
};

struct Metadata
{
    std::string name;
    StringMap values;
};

struct MetadataIndex
{
    std::uint64_t offset = 0;
    std::uint64_t length = 0; // the whole record
    std::string name;
};

struct ChunkIndex
{
    std::uint64_t messageStartTime = 0;
    std::uint64_t messageEndTime = 0;
    std::uint64_t chunkStartOffset = 0;
    std::uint64_t chunkLength = 0; // the whole record
    std::map<std::uint16_t, std::uint64_t> messageIndexOffsets;
    std::uint64_t messageIndexLength = 0;
    std::string compression;
    std::uint64_t compressedSize = 0;
    std::uint64_t uncompressedSize = 0;
};

struct Statistics
{
    std::uint64_t messageCount = 0;
    std::uint16_t schemaCount = 0;
    std::uint32_t channelCount = 0;
    std::uint32_t attachmentCount = 0;
    std::uint32_t metadataCount = 0;
    std::uint32_t chunkCount = 0;
    std::uint64_t messageStartTime = 0;
    std::uint64_t messageEndTime = 0;
    std::map<std::uint16_t, std::uint64_t> channelMessageCounts;
};

} // namespace zelmcap
