#include "zelctlrun.h"

#include <QProcess>
#include <QProcessEnvironment>

namespace zeltest {

std::ostream& operator<<(std::ostream& os, ZelctlResult const& r)
{
    return os << "exit " << r.exitCode << ", stdout [" << r.out << "], stderr [" << r.err << "]";
}

ZelctlResult runZelctl(QStringList const& arguments, QString const& address, QStringList const& launcher)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("ZEL_ADDRESS"));
    if (!address.isNull())
        env.insert(QStringLiteral("ZEL_ADDRESS"), address);
    QStringList command = launcher;
    command << QStringLiteral(ZEL_BIN_DIR "/zelctl") << arguments;
    auto const started = std::chrono::steady_clock::now();
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(command.first(), command.mid(1));
    ZelctlResult result;
    if (process.waitForFinished(15000) && process.exitStatus() == QProcess::NormalExit)
        result.exitCode = process.exitCode();
    else
        process.kill();
    result.took = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - started);
    result.out = process.readAllStandardOutput().toStdString();
    result.err = process.readAllStandardError().toStdString();
    return result;
}

} // namespace zeltest
