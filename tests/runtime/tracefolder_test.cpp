#include <zel/host/tracefolder.h>

#include <gtest/gtest.h>

#include <QStringList>

#include <utility>
#include <vector>

// Each step is a write some milliseconds after the one before; an empty line is a flush.
TEST(TraceFolder, RepeatsWithinASecondBecomeOneLineWithTheirCount)
{
    using Steps = std::vector<std::pair<int, QString>>;
    std::vector<std::pair<Steps, QStringList>> const cases = {
        { { { 0, "a" }, { 10, "a" }, { 10, "a" }, { 10, "a" }, { 10, "b" } }, { "a", "a (repeated 3 times)", "b" } },
        { { { 0, "a" }, { 600, "a" }, { 600, "a" }, { 600, "a" }, { 600, "a" }, { 0, "" }, { 0, "" } },
            { "a", "a (repeated 2 times)", "a (repeated 2 times)" } },
        { { { 0, "a" }, { 1500, "a" }, { 0, "a" }, { 0, "a" } }, { "a", "a", "a (repeated 2 times)" } },
    };
    for (auto const& [steps, expected] : cases) {
        QStringList written;
        TraceFolder::Clock::time_point now {};
        {
            TraceFolder folder([&](QString const& line) { written << line; }, [&] { return now; });
            for (auto const& [after, line] : steps) {
                now += std::chrono::milliseconds(after);
                line.isEmpty() ? folder.flush() : folder.write(line);
            }
        } // the rest goes out on destruction
        EXPECT_EQ(written, expected) << written.join(" | ").toStdString();
    }
}
