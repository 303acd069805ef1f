#include "zelctlrun.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>

namespace zeltest {

std::ostream& operator<<(std::ostream& os, ZelctlResult const& r)
{
    return os << "exit " << r.exitCode << ", stdout [" << r.out << "], stderr [" << r.err << "]";
}

namespace {

QProcessEnvironment environmentFor(QString const& address)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("ZEL_ADDRESS"));
    if (!address.isNull())
        env.insert(QStringLiteral("ZEL_ADDRESS"), address);
    return env;
}

} // namespace

ZelctlResult runZelctl(QStringList const& arguments, QString const& address, QStringList const& launcher)
{
    QProcessEnvironment const env = environmentFor(address);
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

std::unique_ptr<QProcess> startZelctl(QStringList const& arguments, QString const& address)
{
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(environmentFor(address));
    process->start(QStringLiteral(ZEL_BIN_DIR "/zelctl"), arguments);
    return process;
}

QString writeFile(QTemporaryDir const& dir, QString const& name, QByteArray const& text)
{
    QString const path = dir.filePath(name);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(text);
    return path;
}

} // namespace zeltest
