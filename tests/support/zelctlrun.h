#pragma once

#include <QString>
#include <QStringList>

#include <QByteArray>
#include <QProcess>
#include <QTemporaryDir>

#include <chrono>
#include <memory>
#include <ostream>
#include <string>

namespace zeltest {

// What one zelctl call left behind.
struct ZelctlResult
{
    int exitCode = -1; // -1: did not finish within its deadline
    std::string out;
    std::string err;
    std::chrono::milliseconds took {};

    QStringList lines() const { return QString::fromStdString(out).split(QLatin1Char('\n'), Qt::SkipEmptyParts); }
};

std::ostream& operator<<(std::ostream& os, ZelctlResult const& r);

// One zelctl call of the build with ZEL_ADDRESS set to `address` (unset for a null one); run
// through `launcher` when one is given (such as ip netns exec NAME).
ZelctlResult runZelctl(QStringList const& arguments, QString const& address, QStringList const& launcher = {});

// A zelctl that runs beside the test, such as a recorder, a player or serve.
std::unique_ptr<QProcess> startZelctl(QStringList const& arguments, QString const& address);

// `text` written to `name` in `dir`, for a command to read; the file's path.
QString writeFile(QTemporaryDir const& dir, QString const& name, QByteArray const& text);

} // namespace zeltest
