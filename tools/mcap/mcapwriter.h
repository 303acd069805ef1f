#pragma once

#include "crc32.h"
#include "mcapbuffer.h"
#include "mcaprecords.h"

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zelmcap {

struct WriterOptions
{
    std::string profile; // the Header's profile; empty for none
    std::string library; // who wrote the file
    std::string compression; // "" or "zstd"
    std::size_t chunkSize = 1 << 20; // a chunk closes when its records reach this size
};

// Writes an MCAP file: messages go into chunks, each followed by its message indexes; close() adds
// the summary (channels, statistics, chunk and metadata indexes), its offsets and the footer, so that
// a reader can seek to any chunk. Throws McapError on a failed write.
class McapWriter
{
public:
    McapWriter(std::string const& path, WriterOptions options);
    ~McapWriter(); // closes when close() was not called; never throws
    McapWriter(McapWriter const&) = delete;
    McapWriter& operator=(McapWriter const&) = delete;

    // A channel without a schema; returns its id.
    std::uint16_t addChannel(std::string const& topic, std::string const& messageEncoding, StringMap metadata);
    void addMetadata(std::string const& name, StringMap values);
    // A message whose data is `data` followed by `more`, so that a caller can put a header in front
    // without copying what follows. Log times must not go back.
    void write(std::uint16_t channelId, std::uint32_t sequence, std::uint64_t logTime, std::uint64_t publishTime,
        std::string_view data, std::string_view more = {});
    void close();

    std::uint64_t bytesWritten() const { return position; }

private:
    void put(std::string_view bytes);
    void putRecord(Opcode opcode, McapBuffer const& content) { putRecord(opcode, content.data()); }
    void putRecord(Opcode opcode, std::string_view content);
    void flushChunk();
    void writeSummary();

    std::FILE* file = nullptr;
    std::string path;
    WriterOptions options;
    std::uint64_t position = 0;
    Crc32 dataCrc; // everything from the magic up to the Data End record

    std::vector<Channel> channels;
    std::vector<MetadataIndex> metadata;
    std::vector<ChunkIndex> chunkIndexes;
    Statistics statistics;

    McapBuffer chunk; // the records of the open chunk
    // Per channel: log time and offset within the chunk of each of its messages there.
    std::map<std::uint16_t, std::vector<std::pair<std::uint64_t, std::uint64_t>>> chunkMessages;
    std::uint64_t chunkStart = 0;
    std::uint64_t chunkEnd = 0;
};

} // namespace zelmcap
