#include "mcapreader.h"

#include "crc32.h"
#include "mcapcompression.h"
#include "mcapcursor.h"
#include "mcaperror.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zelmcap {

namespace {

// More than any chunk or record a recorder writes; a length beyond it is damage, not data.
constexpr std::uint64_t largestRecord = std::uint64_t(1) << 32;

std::string number(std::uint64_t value) { return std::to_string(value); }

} // namespace

McapReader::McapReader(std::string const& path)
    : file(path, std::ios::binary)
{
    if (!file)
        throw McapError(0, std::string("cannot open: ") + std::strerror(errno));
    file.seekg(0, std::ios::end);
    fileSize = static_cast<std::uint64_t>(file.tellg());
    readFrame();
}

std::string McapReader::readAt(std::uint64_t offset, std::uint64_t length, char const* what)
{
    if (offset > fileSize || length > fileSize - offset)
        throw McapError(offset,
            std::string("truncated: ") + what + " of " + number(length) + " bytes runs past the end of the file at "
                + number(fileSize));
    std::string bytes(static_cast<std::size_t>(length), '\0');
    file.clear();
    file.seekg(static_cast<std::streamoff>(offset));
    if (!file.read(bytes.data(), static_cast<std::streamsize>(length)))
        throw McapError(offset, std::string("cannot read ") + what);
    return bytes;
}

McapReader::Record McapReader::readRecord(std::uint64_t offset, std::uint64_t end)
{
    std::string const prefix = readAt(offset, recordPrefixSize, "a record");
    McapCursor cursor(prefix.data(), prefix.size(), offset);
    auto const opcode = static_cast<Opcode>(cursor.u8());
    std::uint64_t const length = cursor.u64();
    if (length > largestRecord || offset + recordPrefixSize + length > end)
        throw McapError(offset,
            "a record of " + number(length) + " bytes that runs past the end of its section at " + number(end)
                + (end == fileSize ? " (truncated?)" : ""));
    return { opcode, offset, readAt(offset + recordPrefixSize, length, "a record") };
}

void McapReader::readFrame()
{
    std::string const head = readAt(0, std::min<std::uint64_t>(magicSize, fileSize), "the magic");
    if (head.size() < majorVersionOffset || std::memcmp(head.data(), magic, majorVersionOffset) != 0)
        throw McapError(0, "not an MCAP file: it does not begin with the MCAP magic");
    if (head.size() < magicSize)
        throw McapError(head.size(), "truncated: the file ends inside the magic");
    if (head[majorVersionOffset] != magic[majorVersionOffset])
        throw McapError(majorVersionOffset,
            std::string("MCAP major version '") + head[majorVersionOffset]
                + "' is newer than this reader, which reads version '0'");
    if (std::memcmp(head.data(), magic, magicSize) != 0)
        throw McapError(majorVersionOffset + 1, "not an MCAP file: the magic does not end in \\r\\n");

    std::uint64_t const tail = magicSize + recordPrefixSize + footerContentSize;
    if (fileSize < magicSize + tail
        || readAt(fileSize - magicSize, magicSize, "the magic") != std::string(magic, magicSize))
        throw McapError(fileSize, "truncated: no MCAP magic and footer at the end of the file");
    std::uint64_t const footerStart = fileSize - tail;
    Record const header = readRecord(magicSize, footerStart);
    if (header.opcode != Opcode::Header)
        throw McapError(magicSize, "no header record after the magic");
    McapCursor fields(header.content.data(), header.content.size(), magicSize + recordPrefixSize);
    headerProfile = fields.string();
    headerLibrary = fields.string();
    dataStart = magicSize + recordPrefixSize + header.content.size();

    Record const footer = readRecord(footerStart, fileSize - magicSize);
    if (footer.opcode != Opcode::Footer)
        throw McapError(footerStart, "truncated: no footer record before the closing magic");
    McapCursor values(footer.content.data(), footer.content.size(), footerStart + recordPrefixSize);
    std::uint64_t const summaryStart = values.u64();
    values.u64(); // the summary offsets are found by reading the summary
    std::uint32_t const crc = values.u32();
    dataLimit = summaryStart == 0 ? footerStart : summaryStart;
    if (summaryStart == 0)
        return;
    if (summaryStart < dataStart || summaryStart > footerStart)
        throw McapError(footerStart, "the footer puts the summary at " + number(summaryStart) + ", outside the file");
    std::string const covered = readAt(summaryStart, fileSize - magicSize - 4 - summaryStart, "the summary");
    if (crc != 0 && Crc32::of(covered.data(), covered.size()) != crc)
        throw McapError(summaryStart, "the summary does not match its CRC");
    readSummary(summaryStart, footerStart);
}

void McapReader::readSummary(std::uint64_t summaryStart, std::uint64_t footerStart)
{
    for (std::uint64_t offset = summaryStart; offset < footerStart;) {
        Record const record = readRecord(offset, footerStart);
        takeSummaryRecord(record);
        offset += recordPrefixSize + record.content.size();
    }
}

void McapReader::takeSummaryRecord(Record const& record)
{
    McapCursor c(record.content.data(), record.content.size(), record.offset + recordPrefixSize);
    switch (record.opcode) {
    case Opcode::Channel:
        return readChannel(record);
    case Opcode::Statistics:
        stats.messageCount = c.u64();
        stats.schemaCount = c.u16();
        stats.channelCount = c.u32();
        stats.attachmentCount = c.u32();
        stats.metadataCount = c.u32();
        stats.chunkCount = c.u32();
        stats.messageStartTime = c.u64();
        stats.messageEndTime = c.u64();
        stats.channelMessageCounts = c.idMap();
        statisticsFound = true;
        return;
    case Opcode::ChunkIndex: {
        ChunkIndex index;
        index.messageStartTime = c.u64();
        index.messageEndTime = c.u64();
        index.chunkStartOffset = c.u64();
        index.chunkLength = c.u64();
        index.messageIndexOffsets = c.idMap();
        index.messageIndexLength = c.u64();
        index.compression = c.string();
        index.compressedSize = c.u64();
        index.uncompressedSize = c.u64();
        if (index.chunkStartOffset < dataStart || index.chunkStartOffset >= dataLimit)
            throw McapError(record.offset, "a chunk index points outside the data section");
        chunks.push_back(std::move(index));
        return;
    }
    default:
        return; // schemas, attachment and metadata indexes, summary offsets: ZEL needs none of them
    }
}

void McapReader::readChannel(Record const& record)
{
    McapCursor c(record.content.data(), record.content.size(), record.offset + recordPrefixSize);
    Channel channel;
    channel.id = c.u16();
    channel.schemaId = c.u16();
    channel.topic = c.string();
    channel.messageEncoding = c.string();
    channel.metadata = c.map();
    channelsById[channel.id] = std::move(channel);
}

bool McapReader::readMessage(Record const& record, Visit const& visit)
{
    McapCursor c(record.content.data(), record.content.size(), record.offset + recordPrefixSize);
    Message message;
    message.offset = record.offset;
    message.channelId = c.u16();
    message.sequence = c.u32();
    message.logTime = c.u64();
    message.publishTime = c.u64();
    message.size = c.left();
    message.data = c.take(message.size, "the message");
    if (channelsById.count(message.channelId) == 0)
        throw McapError(record.offset, "a message on channel " + number(message.channelId) + ", which has no record");
    ++scannedMessages;
    return !visit || visit(message);
}

bool McapReader::readChunkRecord(Record const& record, Visit const& visit)
{
    std::uint64_t const fieldsAt = record.offset + recordPrefixSize;
    McapCursor c(record.content.data(), record.content.size(), fieldsAt);
    c.u64(); // start and end time: the messages carry theirs
    c.u64();
    std::uint64_t const uncompressedSize = c.u64();
    std::uint32_t const crc = c.u32();
    std::string const compression = c.string();
    std::uint64_t const length = c.u64();
    std::uint64_t const recordsAt = c.offset();
    char const* const packed = c.take(length, "the chunk's records");
    if (uncompressedSize > largestRecord)
        throw McapError(record.offset, "a chunk that says it inflates to " + number(uncompressedSize) + " bytes");
    std::string const records = McapCompression::decompress(
        compression, packed, static_cast<std::size_t>(length), uncompressedSize, recordsAt);
    if (crc != 0 && Crc32::of(records.data(), records.size()) != crc)
        throw McapError(record.offset, "a chunk that does not match its CRC");
    // Inside a compressed chunk a record has no offset in the file: errors name the chunk's records.
    for (std::uint64_t at = 0; at < records.size();) {
        std::uint64_t const base = compression.empty() ? recordsAt + at : recordsAt;
        McapCursor prefix(records.data() + at, records.size() - at, base);
        auto const opcode = static_cast<Opcode>(prefix.u8());
        std::uint64_t const size = prefix.u64();
        Record inner { opcode, base, std::string(prefix.take(size, "a record in a chunk"), size) };
        if (opcode == Opcode::Channel)
            readChannel(inner);
        else if (opcode == Opcode::Message && !readMessage(inner, visit))
            return false;
        at += recordPrefixSize + size;
    }
    return true;
}

void McapReader::readChunk(ChunkIndex const& index, Visit const& visit)
{
    Record const record = readRecord(index.chunkStartOffset, dataLimit);
    if (record.opcode != Opcode::Chunk)
        throw McapError(index.chunkStartOffset, "a chunk index that points at no chunk");
    readChunkRecord(record, visit);
}

bool McapReader::scan(Visit const& visit)
{
    metadataRecords.clear();
    scannedMessages = 0;
    Crc32 crc;
    crc.update(readAt(0, dataStart, "the header").data(), dataStart);
    std::uint64_t chunkCount = 0;
    std::set<std::uint64_t> chunkOffsets;
    for (std::uint64_t offset = dataStart; offset < dataLimit;) {
        Record const record = readRecord(offset, dataLimit);
        if (record.opcode == Opcode::DataEnd) {
            McapCursor c(record.content.data(), record.content.size(), offset + recordPrefixSize);
            std::uint32_t const expected = c.u32();
            if (expected != 0 && crc.value() != expected)
                throw McapError(offset, "the data section does not match its CRC");
            checkScan(offset, chunkCount, chunkOffsets);
            return true;
        }
        crc.update(readAt(offset, recordPrefixSize, "a record").data(), recordPrefixSize);
        crc.update(record.content.data(), record.content.size());
        switch (record.opcode) {
        case Opcode::Channel:
            readChannel(record);
            break;
        case Opcode::Message:
            if (!readMessage(record, visit))
                return false;
            break;
        case Opcode::Chunk:
            ++chunkCount;
            chunkOffsets.insert(offset);
            if (!readChunkRecord(record, visit))
                return false;
            break;
        case Opcode::Metadata: {
            McapCursor c(record.content.data(), record.content.size(), offset + recordPrefixSize);
            Metadata m;
            m.name = c.string();
            m.values = c.map();
            metadataRecords.push_back(std::move(m));
            break;
        }
        case Opcode::Header:
        case Opcode::Footer:
            throw McapError(offset, "a header or footer record inside the data section");
        default:
            break; // indexes, schemas and attachments carry nothing to play
        }
        offset += recordPrefixSize + record.content.size();
    }
    throw McapError(dataLimit, "the data section ends without a Data End record");
}

void McapReader::checkScan(std::uint64_t dataEnd, std::uint64_t chunkCount, std::set<std::uint64_t> const& chunkOffsets)
{
    if (statisticsFound && stats.messageCount != scannedMessages)
        throw McapError(dataEnd,
            "the statistics count " + number(stats.messageCount) + " messages, the data section holds "
                + number(scannedMessages));
    if (chunks.empty())
        return; // a file without chunk indexes is read from the start
    if (chunks.size() != chunkCount)
        throw McapError(dataEnd,
            "the summary indexes " + number(chunks.size()) + " chunks, the data section holds " + number(chunkCount));
    for (ChunkIndex const& index : chunks) {
        if (chunkOffsets.count(index.chunkStartOffset) == 0)
            throw McapError(index.chunkStartOffset, "a chunk index that points at no chunk");
    }
}

} // namespace zelmcap
