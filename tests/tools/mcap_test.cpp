#include <crc32.h>
#include <framepair.h>
#include <mcapcompression.h>
#include <mcaperror.h>
#include <mcapreader.h>
#include <mcapwriter.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <fstream>
#include <iterator>
#include <tuple>

using testing::HasSubstr;

namespace {

using namespace zelmcap;

struct Written
{
    std::uint16_t channel;
    std::uint32_t sequence;
    std::uint64_t time;
    std::string bytes;

    bool operator==(Written const& other) const
    {
        return std::tie(channel, sequence, time, bytes)
            == std::tie(other.channel, other.sequence, other.time, other.bytes);
    }
};

std::string slurp(std::string const& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

void spill(std::string const& path, std::string const& bytes)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// Three channels, 3000 messages of growing size in chunks of 4 KiB: many chunks, some messages
// larger than a chunk.
std::vector<Written> writeSample(std::string const& path, std::string const& compression)
{
    McapWriter writer(path, { "zel", "test", compression, 4096 });
    std::uint16_t const channels[] = { writer.addChannel("g/a", FramePair::encoding, { { "group", "g" } }),
        writer.addChannel("g/b", FramePair::encoding, {}), writer.addChannel("h/c", "json", {}) };
    writer.addMetadata("zel", { { "zel_version", "1.2.3" }, { "hosts", "tcp://127.0.0.1:1" } });
    std::vector<Written> written;
    std::uint32_t sequences[3] = {};
    for (std::uint32_t i = 0; i < 3000; ++i) {
        std::string bytes;
        std::string const data(i * 7 % 5000, static_cast<char>('a' + i % 26));
        FramePair::encode(bytes, "type", 4, data.data(), data.size());
        std::size_t const c = i % 3;
        written.push_back({ channels[c], sequences[c]++, 1'000'000'000ull + i * 1000ull, bytes });
        writer.write(written.back().channel, written.back().sequence, written.back().time, written.back().time, bytes);
    }
    writer.close();
    return written;
}

std::vector<Written> readAll(McapReader& reader)
{
    std::vector<Written> read;
    reader.scan([&](Message const& m) {
        read.push_back({ m.channelId, m.sequence, m.logTime, std::string(m.data, m.size) });
        return true;
    });
    return read;
}

} // namespace

TEST(Mcap, WhatIsWrittenIsReadBackInOrderAndEachChunkCanBeReadAlone)
{
    EXPECT_EQ(Crc32::of("123456789", 9), 0xCBF43926u);
    QTemporaryDir dir;
    for (std::string const compression : { "", "zstd" }) {
        if (!McapCompression::available(compression))
            continue;
        SCOPED_TRACE("compression " + compression);
        std::string const path = dir.filePath("sample.mcap").toStdString();
        std::vector<Written> const written = writeSample(path, compression);

        McapReader reader(path);
        EXPECT_EQ(reader.profile(), "zel");
        ASSERT_EQ(reader.channels().size(), 3u) << "the summary names the channels before any scan";
        EXPECT_EQ(reader.channels().at(1).topic, "g/a");
        EXPECT_EQ(reader.channels().at(1).metadata.at("group"), "g");
        EXPECT_EQ(reader.channels().at(3).messageEncoding, "json");
        ASSERT_TRUE(reader.hasStatistics());
        EXPECT_EQ(reader.statistics().messageCount, 3000u);
        EXPECT_EQ(reader.statistics().channelMessageCounts.at(2), 1000u);
        EXPECT_EQ(reader.statistics().messageStartTime, written.front().time);
        EXPECT_EQ(reader.statistics().messageEndTime, written.back().time);
        ASSERT_GT(reader.chunkIndexes().size(), 10u);

        EXPECT_TRUE(readAll(reader) == written);
        ASSERT_EQ(reader.metadata().size(), 1u);
        EXPECT_EQ(reader.metadata()[0].values.at("zel_version"), "1.2.3");

        // Straight to the last chunk, by its index: its messages are the last ones written.
        std::vector<Written> tail;
        ChunkIndex const& last = reader.chunkIndexes().back();
        EXPECT_EQ(last.compression, compression);
        reader.readChunk(last, [&](Message const& m) {
            tail.push_back({ m.channelId, m.sequence, m.logTime, std::string(m.data, m.size) });
            return true;
        });
        ASSERT_FALSE(tail.empty());
        EXPECT_TRUE(std::equal(tail.begin(), tail.end(), written.end() - static_cast<long>(tail.size())));
        EXPECT_EQ(tail.front().time, last.messageStartTime);
        EXPECT_EQ(tail.back().time, last.messageEndTime);
    }
}

TEST(Mcap, FramePairsKeepBothFramesAndRefuseWhatCannotHoldThem)
{
    std::string bytes;
    FramePair::encode(bytes, "", 0, "\0x", 2);
    std::string type = "old";
    std::string data;
    ASSERT_TRUE(FramePair::decode(bytes.data(), bytes.size(), type, data));
    EXPECT_EQ(type, "");
    EXPECT_EQ(data, std::string("\0x", 2));
    FramePair::encode(bytes, "numbers", 7, "", 0);
    EXPECT_TRUE(FramePair::decode(bytes.data(), bytes.size(), type, data));
    EXPECT_EQ(type, "numbers");
    EXPECT_FALSE(FramePair::decode(bytes.data(), bytes.size() - 1, type, data)) << "the type frame is cut";
    EXPECT_FALSE(FramePair::decode(bytes.data(), 3, type, data));
}

// Damage anywhere is found before a caller acts on the file, with the offset where it shows.
TEST(Mcap, DamagedFilesAreRefusedWithTheOffset)
{
    QTemporaryDir dir;
    std::string const good = dir.filePath("good.mcap").toStdString();
    writeSample(good, "");
    std::string const bytes = slurp(good);
    std::uint64_t const size = bytes.size();
    std::uint64_t const firstChunk = McapReader(good).chunkIndexes().at(0).chunkStartOffset;
    std::uint64_t summaryStart = 0; // the footer's first field
    for (int i = 7; i >= 0; --i)
        summaryStart = summaryStart << 8 | static_cast<unsigned char>(bytes[size - 8 - 20 + static_cast<unsigned>(i)]);

    auto flipped = [&](std::uint64_t at) {
        std::string copy = bytes;
        copy[at] = static_cast<char>(copy[at] ^ 0x5A);
        return copy;
    };
    struct Case
    {
        char const* name;
        std::string content;
        std::uint64_t offset;
        char const* text;
    };
    Case const cases[] = {
        { "empty", "", 0, "not an MCAP file" },
        { "text", "hello, this is not a recording\n", 0, "not an MCAP file" },
        { "newer", std::string("\x89MCAP1\r\n") + bytes.substr(8), 5, "newer than this reader" },
        { "cut in half", bytes.substr(0, size / 2), size / 2, "truncated" },
        { "last byte missing", bytes.substr(0, size - 1), size - 1, "truncated" },
        { "magic only", bytes.substr(0, 8), 8, "truncated" },
        // Past the chunk's prefix and fixed fields (40 bytes with compression ""): its first record.
        { "chunk damaged", flipped(firstChunk + 9 + 40), firstChunk, "does not match its CRC" },
        { "summary damaged", flipped(summaryStart + 20), summaryStart, "summary does not match its CRC" },
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        std::string const path = dir.filePath("bad.mcap").toStdString();
        spill(path, c.content);
        try {
            McapReader reader(path);
            reader.scan();
            ADD_FAILURE() << "read without complaint";
        } catch (McapError const& e) {
            EXPECT_THAT(e.what(), HasSubstr(c.text));
            EXPECT_EQ(e.offset(), c.offset) << e.what();
        }
    }
}
