#include "mcapwriter.h"

#include "mcapcompression.h"
#include "mcaperror.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zelmcap {

McapWriter::McapWriter(std::string const& path, WriterOptions options)
    : path(path)
    , options(std::move(options))
{
    if (!McapCompression::available(this->options.compression))
        throw McapError(0, "compression \"" + this->options.compression + "\" is not in this build");
    file = std::fopen(path.c_str(), "wb");
    if (!file)
        throw McapError(0, std::string("cannot create: ") + std::strerror(errno));
    dataCrc.update(magic, magicSize);
    put(std::string(magic, magicSize));
    McapBuffer header;
    header.string(this->options.profile);
    header.string(this->options.library);
    putRecord(Opcode::Header, header);
}

McapWriter::~McapWriter()
{
    if (!file)
        return;
    try {
        close();
    } catch (McapError const&) {
        // A destructor cannot report it; whoever cares calls close() first.
    }
    if (file)
        std::fclose(file);
}

void McapWriter::put(std::string_view bytes)
{
    if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
        throw McapError(position, "cannot write " + path + ": " + std::strerror(errno));
    position += bytes.size();
}

void McapWriter::putRecord(Opcode opcode, std::string_view content)
{
    McapBuffer prefix;
    prefix.u8(static_cast<std::uint8_t>(opcode));
    prefix.u64(content.size());
    dataCrc.update(prefix.data().data(), prefix.size());
    dataCrc.update(content.data(), content.size());
    put(prefix.data());
    put(content);
}

std::uint16_t McapWriter::addChannel(std::string const& topic, std::string const& messageEncoding, StringMap values)
{
    Channel channel { static_cast<std::uint16_t>(channels.size() + 1), 0, topic, messageEncoding, std::move(values) };
    McapBuffer content;
    content.u16(channel.id);
    content.u16(channel.schemaId);
    content.string(channel.topic);
    content.string(channel.messageEncoding);
    content.map(channel.metadata);
    putRecord(Opcode::Channel, content);
    channels.push_back(std::move(channel));
    statistics.channelMessageCounts[channels.back().id] = 0;
    return channels.back().id;
}

void McapWriter::addMetadata(std::string const& name, StringMap values)
{
    McapBuffer content;
    content.string(name);
    content.map(values);
    std::uint64_t const start = position;
    putRecord(Opcode::Metadata, content);
    metadata.push_back({ start, position - start, name });
}

void McapWriter::write(std::uint16_t channelId, std::uint32_t sequence, std::uint64_t logTime,
    std::uint64_t publishTime, std::string_view data, std::string_view more)
{
    if (chunkMessages.empty())
        chunkStart = logTime;
    chunkEnd = std::max(chunkEnd, logTime);
    chunkMessages[channelId].emplace_back(logTime, chunk.size());
    chunk.u8(static_cast<std::uint8_t>(Opcode::Message));
    chunk.u64(2 + 4 + 8 + 8 + data.size() + more.size());
    chunk.u16(channelId);
    chunk.u32(sequence);
    chunk.u64(logTime);
    chunk.u64(publishTime);
    chunk.raw(data.data(), data.size());
    chunk.raw(more.data(), more.size());

    if (statistics.messageCount == 0)
        statistics.messageStartTime = logTime;
    statistics.messageEndTime = std::max(statistics.messageEndTime, logTime);
    ++statistics.messageCount;
    ++statistics.channelMessageCounts[channelId];
    if (chunk.size() >= options.chunkSize)
        flushChunk();
}

void McapWriter::flushChunk()
{
    if (chunkMessages.empty())
        return;
    std::string const packed
        = options.compression.empty() ? std::string() : McapCompression::compress(options.compression, chunk.data());
    std::string_view const records = options.compression.empty() ? std::string_view(chunk.data()) : packed;
    ChunkIndex index;
    index.messageStartTime = chunkStart;
    index.messageEndTime = chunkEnd;
    index.chunkStartOffset = position;
    index.compression = options.compression;
    index.compressedSize = records.size();
    index.uncompressedSize = chunk.size();

    // The records go out as they are, behind the fields, not copied into one buffer with them.
    McapBuffer fields;
    fields.u64(chunkStart);
    fields.u64(chunkEnd);
    fields.u64(chunk.size());
    fields.u32(Crc32::of(chunk.data().data(), chunk.size()));
    fields.string(options.compression);
    fields.u64(records.size());
    McapBuffer prefix;
    prefix.u8(static_cast<std::uint8_t>(Opcode::Chunk));
    prefix.u64(fields.size() + records.size());
    for (std::string_view const part : { std::string_view(prefix.data()), std::string_view(fields.data()), records }) {
        dataCrc.update(part.data(), part.size());
        put(part);
    }
    index.chunkLength = position - index.chunkStartOffset;

    std::uint64_t const indexesStart = position;
    for (auto const& [channelId, entries] : chunkMessages) {
        McapBuffer list;
        list.u16(channelId);
        list.u32(static_cast<std::uint32_t>(entries.size() * 16));
        for (auto const& [time, offset] : entries) {
            list.u64(time);
            list.u64(offset);
        }
        index.messageIndexOffsets[channelId] = position;
        putRecord(Opcode::MessageIndex, list);
    }
    index.messageIndexLength = position - indexesStart;
    chunkIndexes.push_back(std::move(index));
    chunk.clear();
    chunkMessages.clear();
    chunkEnd = 0;
}

void McapWriter::close()
{
    if (!file)
        return;
    flushChunk();
    McapBuffer dataEnd;
    dataEnd.u32(dataCrc.value());
    putRecord(Opcode::DataEnd, dataEnd);
    writeSummary();
    std::FILE* const done = file;
    file = nullptr;
    if (std::fclose(done) != 0)
        throw McapError(position, "cannot write " + path + ": " + std::strerror(errno));
}

// Channels, statistics, chunk indexes and metadata indexes, each group found by a Summary Offset
// record; the footer's CRC covers all of that and the footer up to the CRC itself.
void McapWriter::writeSummary()
{
    std::uint64_t const summaryStart = position;
    McapBuffer summary;
    std::vector<std::pair<Opcode, std::pair<std::uint64_t, std::uint64_t>>> groups;
    auto group = [&](Opcode opcode, auto const& records, auto const& encode) {
        if (records.empty())
            return;
        std::uint64_t const start = summaryStart + summary.size();
        for (auto const& record : records) {
            McapBuffer content;
            encode(record, content);
            summary.record(opcode, content);
        }
        groups.push_back({ opcode, { start, summaryStart + summary.size() - start } });
    };
    group(Opcode::Channel, channels, [](Channel const& c, McapBuffer& b) {
        b.u16(c.id);
        b.u16(c.schemaId);
        b.string(c.topic);
        b.string(c.messageEncoding);
        b.map(c.metadata);
    });
    statistics.channelCount = static_cast<std::uint32_t>(channels.size());
    statistics.metadataCount = static_cast<std::uint32_t>(metadata.size());
    statistics.chunkCount = static_cast<std::uint32_t>(chunkIndexes.size());
    group(Opcode::Statistics, std::vector<Statistics> { statistics }, [](Statistics const& s, McapBuffer& b) {
        b.u64(s.messageCount);
        b.u16(s.schemaCount);
        b.u32(s.channelCount);
        b.u32(s.attachmentCount);
        b.u32(s.metadataCount);
        b.u32(s.chunkCount);
        b.u64(s.messageStartTime);
        b.u64(s.messageEndTime);
        b.map(s.channelMessageCounts);
    });
    group(Opcode::ChunkIndex, chunkIndexes, [](ChunkIndex const& c, McapBuffer& b) {
        b.u64(c.messageStartTime);
        b.u64(c.messageEndTime);
        b.u64(c.chunkStartOffset);
        b.u64(c.chunkLength);
        b.map(c.messageIndexOffsets);
        b.u64(c.messageIndexLength);
        b.string(c.compression);
        b.u64(c.compressedSize);
        b.u64(c.uncompressedSize);
    });
    group(Opcode::MetadataIndex, metadata, [](MetadataIndex const& m, McapBuffer& b) {
        b.u64(m.offset);
        b.u64(m.length);
        b.string(m.name);
    });
    std::uint64_t const offsetsStart = summaryStart + summary.size();
    for (auto const& [opcode, span] : groups) {
        McapBuffer content;
        content.u8(static_cast<std::uint8_t>(opcode));
        content.u64(span.first);
        content.u64(span.second);
        summary.record(Opcode::SummaryOffset, content);
    }
    McapBuffer footer;
    footer.u8(static_cast<std::uint8_t>(Opcode::Footer));
    footer.u64(footerContentSize);
    footer.u64(summaryStart);
    footer.u64(offsetsStart);
    Crc32 crc;
    crc.update(summary.data().data(), summary.size());
    crc.update(footer.data().data(), footer.size());
    footer.u32(crc.value());
    put(summary.data());
    put(footer.data());
    put(std::string(magic, magicSize));
}

} // namespace zelmcap
