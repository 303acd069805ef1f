#pragma once

#include "mcaprecords.h"

#include <cstdint>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace zelmcap {

// Reads an MCAP file. Opening checks its frame: the magic at both ends (and its major version), the
// header, the footer and the summary with its CRC. scan() then reads the data section from the
// start and checks every record on the way, so that a caller can refuse a damaged file before it
// acts on any of it. Every failure is a McapError with the offset where it showed.
class McapReader
{
public:
    // Returns false to stop reading.
    using Visit = std::function<bool(Message const&)>;

    explicit McapReader(std::string const& path);

    // Every message in file order; checks chunk CRCs, the data CRC, and that the summary's
    // statistics and chunk indexes match what the data section holds. False when `visit` stopped it.
    bool scan(Visit const& visit = {});
    // The messages of one chunk, read where its index says it lies.
    void readChunk(ChunkIndex const& index, Visit const& visit);

    std::uint64_t size() const { return fileSize; }
    std::string const& profile() const { return headerProfile; }
    std::string const& library() const { return headerLibrary; }
    // From the summary, and after a scan from the data section too.
    std::map<std::uint16_t, Channel> const& channels() const { return channelsById; }
    std::vector<ChunkIndex> const& chunkIndexes() const { return chunks; }
    bool hasStatistics() const { return statisticsFound; }
    Statistics const& statistics() const { return stats; }
    // Filled by scan().
    std::vector<Metadata> const& metadata() const { return metadataRecords; }
    std::uint64_t messagesScanned() const { return scannedMessages; }

private:
    struct Record
    {
        Opcode opcode;
        std::uint64_t offset; // of the opcode
        std::string content;
    };

    std::string readAt(std::uint64_t offset, std::uint64_t length, char const* what);
    Record readRecord(std::uint64_t offset, std::uint64_t end);
    void readFrame();
    void readSummary(std::uint64_t summaryStart, std::uint64_t footerStart);
    void takeSummaryRecord(Record const& record);
    void readChannel(Record const& record);
    bool readMessage(Record const& record, Visit const& visit);
    bool readChunkRecord(Record const& record, Visit const& visit);
    void checkScan(std::uint64_t dataEnd, std::uint64_t chunkCount, std::set<std::uint64_t> const& chunkOffsets);

    std::ifstream file;
    std::uint64_t fileSize = 0;
    std::uint64_t dataStart = 0; // after the header
    std::uint64_t dataLimit = 0; // where the summary or the footer begins
    std::string headerProfile;
    std::string headerLibrary;
    std::map<std::uint16_t, Channel> channelsById;
    std::vector<ChunkIndex> chunks;
    Statistics stats;
    bool statisticsFound = false;
    std::vector<Metadata> metadataRecords;
    std::uint64_t scannedMessages = 0;
};

} // namespace zelmcap
