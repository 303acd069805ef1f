#include "fuzztargets.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

namespace {

struct Target
{
    char const* name;
    void (*body)(std::uint8_t const*, std::size_t);
};

Target const targets[] = {
    { "controlxml", zelfuzz::controlXml },
    { "recordbinary", zelfuzz::recordBinary },
    { "envelope", zelfuzz::envelope },
    { "processorconfig", zelfuzz::processorConfig },
};

// Every saved input, seeds and past findings alike, passes its target's checks again.
TEST(FuzzCorpus, EverySavedInputPasses)
{
    for (Target const& target : targets) {
        QDir const dir(QStringLiteral(ZEL_FUZZ_CORPUS "/") + QLatin1String(target.name));
        QStringList const files = dir.entryList(QDir::Files);
        EXPECT_FALSE(files.isEmpty()) << target.name;
        for (QString const& name : files) {
            QFile file(dir.filePath(name));
            ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(file.fileName());
            QByteArray const bytes = file.readAll();
            try {
                target.body(reinterpret_cast<std::uint8_t const*>(bytes.constData()), std::size_t(bytes.size()));
            } catch (std::exception const& e) {
                ADD_FAILURE() << target.name << "/" << qPrintable(name) << ": " << e.what();
            }
        }
    }
}

} // namespace
