#include "support/polling.h"
#include "support/zelctltest.h"

#include <framepair.h>
#include <mcapcompression.h>
#include <mcapreader.h>
#include <mcapwriter.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <csignal>
#include <memory>

using testing::HasSubstr;

namespace {

using namespace std::chrono_literals;

using Result = zeltest::ZelctlResult;

// The messages of a recording: type frame, data frame, receive time.
struct Recorded
{
    std::string type;
    std::string data;
    std::uint64_t time;
};

std::vector<Recorded> readRecording(QString const& path)
{
    std::vector<Recorded> messages;
    zelmcap::McapReader reader(path.toStdString());
    reader.scan([&](zelmcap::Message const& m) {
        Recorded r { {}, {}, m.logTime };
        EXPECT_TRUE(zelmcap::FramePair::decode(m.data, m.size, r.type, r.data));
        messages.push_back(std::move(r));
        return true;
    });
    return messages;
}

class Record : public zeltest::ZelctlTest
{
protected:
    std::unique_ptr<QProcess> start(QStringList const& arguments)
    {
        return zeltest::startZelctl(arguments, host->address);
    }

    // The first line a background zelctl prints, such as the player's "playing ...".
    static std::string firstLine(QProcess& process)
    {
        zeltest::waitUntil([&] { return process.canReadLine() || process.state() == QProcess::NotRunning; }, 20s);
        return process.readLine().toStdString();
    }

    static testing::AssertionResult finishes(QProcess& process, int deadlineMs = 60000)
    {
        if (!process.waitForFinished(deadlineMs))
            return testing::AssertionFailure() << "still running";
        if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
            return testing::AssertionFailure()
                << "exit " << process.exitCode() << ": " << process.readAllStandardError().toStdString();
        return testing::AssertionSuccess();
    }

    QTemporaryDir dir;
};

// A recording of a few messages spread over `seconds`, for the tests that need no live stream.
QString writeRecording(QString const& path, double seconds)
{
    zelmcap::McapWriter writer(path.toStdString(), { "zel", "test", "" });
    std::uint16_t const channel = writer.addChannel(
        "pipe/numbers", zelmcap::FramePair::encoding, { { "group", "pipe" }, { "stream", "numbers" } });
    std::string bytes;
    for (std::uint32_t i = 0; i < 10; ++i) {
        std::string const data(64, static_cast<char>(i));
        zelmcap::FramePair::encode(bytes, "numbers", 7, data.data(), data.size());
        std::uint64_t const time = 1'000'000'000 + static_cast<std::uint64_t>(seconds * 1e8) * i;
        writer.write(channel, i, time, time, bytes);
    }
    writer.close();
    return path;
}

// Each run of `span` messages took as long in the replay as in the recording, give or take 10 %.
testing::AssertionResult sameTiming(
    std::vector<Recorded> const& recorded, std::vector<Recorded> const& replayed, std::size_t span)
{
    for (std::size_t i = 0; i + span < recorded.size(); i += span) {
        double const original = double(recorded[i + span].time - recorded[i].time);
        double const replay = double(replayed[i + span].time - replayed[i].time);
        if (replay < original * 0.9 || replay > original * 1.1)
            return testing::AssertionFailure() << "messages " << i << " to " << i + span << " took " << replay / 1e6
                                               << " ms in the replay, " << original / 1e6 << " ms in the recording";
    }
    return testing::AssertionSuccess();
}

} // namespace

// 2000 messages of a lossless Generator, recorded, then played into a fresh Counter at the recorded
// pace; a second recorder takes the replay down, so that its timing can be compared with the first.
TEST_F(Record, RecordedStreamPlaysIntoAFreshCounterAsItCame)
{
    ok({ "create-group", "pipe" });
    ok({ "create", "pipe", "gen", "demo.Generator", "--stream", "numbers", "--stream-address", "tcp://127.0.0.1:*" });
    // Lossless: once the recorder's subscription is there, the Generator waits for it rather than
    // lose a message, so that the 2000 come in a row wherever the recording begins. 250 a second
    // is a pace that a loaded machine keeps, with 4 ms between messages.
    ok({ "set", "pipe", "gen", "lossless", "1" });
    ok({ "set", "pipe", "gen", "rate", "250" });
    QString const file = dir.filePath("numbers.mcap");
    // Small chunks, so that the file has many to index.
    std::unique_ptr<QProcess> recorder
        = start({ "record", "-o", file, "pipe", "numbers", "--count", "2000", "--chunk-size", "16384" });
    ASSERT_TRUE(finishes(*recorder));
    EXPECT_THAT(recorder->readAllStandardOutput().toStdString(),
        testing::AllOf(HasSubstr("recorded 2000 messages, 128000 bytes, 0 gaps"),
            HasSubstr("  pipe/numbers  2000 messages  128000 bytes  0 gaps")));
    ok({ "stop", "pipe", "gen" });

    std::vector<std::string> info;
    for (QString const& line : ok({ "info", file }).lines())
        info.push_back(line.toStdString());
    EXPECT_THAT(info, testing::Contains(testing::StartsWith("messages  2000 in ")));
    EXPECT_THAT(info, testing::Contains(testing::MatchesRegex("  1  pipe/numbers  zel.frames  2000 messages  .*")));
    EXPECT_THAT(info, testing::Contains(testing::MatchesRegex("metadata  zel: .*zel_version=.*")));
    std::vector<Recorded> const recorded = readRecording(file);
    ASSERT_EQ(recorded.size(), 2000u);
    EXPECT_EQ(recorded[0].type, "numbers");

    ok({ "create-group", "replay" });
    ok({ "create", "replay", "counter", "demo.Counter", "--stream", "counted", "--stream-address",
        "inproc://record-counted" });
    std::unique_ptr<QProcess> player = start({ "play", file, "--group", "replay", "--wait", "2" });
    ASSERT_THAT(firstLine(*player), testing::StartsWith("playing pipe/numbers as replay/numbers at tcp://127.0.0.1:"))
        << player->readAllStandardError().toStdString();
    ok({ "connect", "replay", "counter", "numbers" });
    QString const again = dir.filePath("replay.mcap");
    std::unique_ptr<QProcess> rerecorder = start({ "record", "-o", again, "replay", "numbers", "--count", "2000" });
    ASSERT_TRUE(finishes(*player));
    ASSERT_TRUE(finishes(*rerecorder));
    EXPECT_THAT(player->readAllStandardOutput().toStdString(), HasSubstr("played 2000 messages\n"));

    auto get = [&](char const* name) { return run({ "get", "replay", "counter", name }).out; };
    EXPECT_TRUE(zeltest::waitUntil([&] { return get("count") == "2000\n"; })) << get("count");
    EXPECT_EQ(get("bytes"), "128000\n");
    EXPECT_EQ(get("gaps"), "0\n");
    std::vector<Recorded> const replayed = readRecording(again);
    ASSERT_EQ(replayed.size(), recorded.size());
    for (std::size_t i = 0; i < recorded.size(); ++i) {
        ASSERT_EQ(replayed[i].type, recorded[i].type) << i;
        ASSERT_EQ(replayed[i].data, recorded[i].data) << i;
    }
    // Two seconds of messages at a time: the pace, not the jitter of each wake-up on a machine that
    // other builds load.
    EXPECT_TRUE(sameTiming(recorded, replayed, 500));
    EXPECT_EQ(run({ "resolve", "replay", "numbers" }).exitCode, 1) << "the player deregisters at the end";

    // The independent reader's test reads this recording.
    QFile::remove(QStringLiteral(ZEL_RECORDING_SAMPLE));
    EXPECT_TRUE(QFile::copy(file, QStringLiteral(ZEL_RECORDING_SAMPLE)));
}

// A file that is cut, not MCAP, or of a newer MCAP: exit 2, the file and the offset named, and
// nothing registered or published.
TEST_F(Record, BadRecordingsAreRefusedBeforeAnythingIsPlayed)
{
    ok({ "create-group", "pipe" });
    QString const good = writeRecording(dir.filePath("good.mcap"), 1);
    QFile in(good);
    ASSERT_TRUE(in.open(QIODevice::ReadOnly));
    QByteArray const bytes = in.readAll();
    QByteArray newer = bytes;
    newer[5] = '1';
    struct Case
    {
        char const* name;
        QByteArray content;
        QString error;
    };
    Case const cases[] = {
        { "cut.mcap", bytes.left(bytes.size() - 30),
            QStringLiteral(": at offset %1: truncated: no MCAP magic and footer at the end of the file")
                .arg(bytes.size() - 30) },
        { "text.mcap", "hello\n", QStringLiteral(": at offset 0: not an MCAP file") },
        { "newer.mcap", newer, QStringLiteral(": at offset 5: MCAP major version '1' is newer than this reader") },
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        QFile out(dir.filePath(c.name));
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(c.content);
        out.close();
        for (QStringList const& command :
            { QStringList { "play", out.fileName() }, QStringList { "info", out.fileName() } }) {
            Result const r = run(command);
            EXPECT_EQ(r.exitCode, 2) << r;
            EXPECT_THAT(r.err, testing::StartsWith(("zelctl: " + out.fileName() + c.error).toStdString())) << r;
            EXPECT_EQ(r.out, "") << "nothing played";
        }
        EXPECT_EQ(run({ "resolve", "pipe", "numbers" }).exitCode, 1) << "nothing registered";
    }
    Result const unknown = run({ "play", good, "--streams", "numbers,letters" });
    EXPECT_EQ(unknown.exitCode, 2) << unknown;
    EXPECT_EQ(unknown.err, "zelctl: " + good.toStdString() + " has no stream letters\n");
    EXPECT_EQ(run({ "resolve", "pipe", "numbers" }).exitCode, 1) << "nothing registered";
    Result const missing = run({ "info", dir.filePath("none.mcap") });
    EXPECT_EQ(missing.exitCode, 2) << missing;
    EXPECT_THAT(missing.err, HasSubstr("none.mcap: at offset 0: cannot open"));
}

// Ctrl-C ends a looping player, which deregisters its stream, and a recorder, whose file is whole.
TEST_F(Record, SignalsEndPlayerAndRecorderCleanly)
{
    ok({ "create-group", "pipe" });
    QString const file = writeRecording(dir.filePath("slow.mcap"), 5);
    std::unique_ptr<QProcess> player = start({ "play", file, "--loop" });
    ASSERT_THAT(firstLine(*player), testing::StartsWith("playing pipe/numbers as pipe/numbers at "));
    EXPECT_EQ(run({ "resolve", "pipe", "numbers" }).exitCode, 0);
    ::kill(static_cast<pid_t>(player->processId()), SIGINT);
    ASSERT_TRUE(finishes(*player, 10000));
    EXPECT_THAT(player->readAllStandardOutput().toStdString(), HasSubstr("(interrupted)"));
    EXPECT_EQ(run({ "resolve", "pipe", "numbers" }).exitCode, 1) << "deregistered";

    // At speed 0 the 4.5 s of the recording go by at once.
    Result const fast = ok({ "play", file, "--speed", "0" });
    EXPECT_THAT(fast.out, HasSubstr("played 10 messages\n"));
    EXPECT_LT(fast.took, 4s);

    // Two streams, a channel each.
    ok({ "create", "pipe", "gen", "demo.Generator", "--stream", "live", "--stream-address", "tcp://127.0.0.1:*" });
    ok({ "create", "pipe", "other", "demo.Generator", "--stream", "more", "--stream-address", "tcp://127.0.0.1:*" });
    QString const live = dir.filePath("live.mcap");
    QStringList command { "record", "-o", live, "pipe", "live", "pipe", "more" };
    if (zelmcap::McapCompression::available("zstd"))
        command << "--compression"
                << "zstd";
    std::unique_ptr<QProcess> recorder = start(command);
    ASSERT_TRUE(zeltest::waitUntil([&] { return QFile::exists(live); }));
    ::kill(static_cast<pid_t>(recorder->processId()), SIGTERM);
    ASSERT_TRUE(finishes(*recorder, 10000));
    EXPECT_THAT(recorder->readAllStandardOutput().toStdString(),
        testing::AllOf(HasSubstr("\n  pipe/live  "), HasSubstr("\n  pipe/more  ")));
    Result const info = ok({ "info", live });
    EXPECT_THAT(info.out,
        testing::AllOf(HasSubstr("\n  1  pipe/live  zel.frames  "), HasSubstr("\n  2  pipe/more  zel.frames  ")));
}
