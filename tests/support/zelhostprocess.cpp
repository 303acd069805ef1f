#include "zelhostprocess.h"

#include "rawpeers.h"

#include <QFile>
#include <QProcessEnvironment>

#include <csignal>

namespace zeltest {

ZelhostProcess::ZelhostProcess(QString const& iniContent, QString const& name)
{
    if (!iniContent.isNull()) {
        QFile file(dir.filePath(name + QStringLiteral(".ini")));
        if (file.open(QIODevice::WriteOnly | QIODevice::Text))
            file.write(iniContent.toUtf8());
    }
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("ZEL_CONFIG_DIR"), dir.path());
    env.remove(QStringLiteral("ZEL_TRACE_FLAGS"));
    proc.setProcessEnvironment(env);
    proc.setProgram(QStringLiteral(ZEL_BIN_DIR "/zelhost"));
    proc.setArguments({ name });
}

ZelhostProcess::~ZelhostProcess()
{
    if (proc.state() != QProcess::NotRunning) {
        proc.kill();
        proc.waitForFinished(5000);
    }
}

std::unique_ptr<ZelhostProcess> ZelhostProcess::listeningAt(QString address)
{
    if (address.isEmpty())
        address = freeLoopbackAddress();
    auto host = std::make_unique<ZelhostProcess>(QStringLiteral("EnvironmentAddress=%1\n").arg(address));
    host->address = address;
    return host;
}

testing::AssertionResult ZelhostProcess::startReady()
{
    if (!start())
        return testing::AssertionFailure() << "cannot run " << proc.program().toStdString();
    QString const line = waitForFirstLine();
    if (line != QStringLiteral("zelhost: ready at ") + address)
        return testing::AssertionFailure()
            << "first line [" << line.toStdString() << "], stderr [" << standardError().toStdString() << "]";
    return testing::AssertionSuccess();
}

bool ZelhostProcess::start()
{
    proc.start();
    return proc.waitForStarted(10000);
}

QString ZelhostProcess::waitForFirstLine(std::chrono::milliseconds deadline)
{
    auto const end = std::chrono::steady_clock::now() + deadline;
    while (!proc.canReadLine()) {
        auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0 || proc.state() == QProcess::NotRunning)
            return {};
        proc.waitForReadyRead(static_cast<int>(left.count()));
    }
    return QString::fromUtf8(proc.readLine()).trimmed();
}

bool ZelhostProcess::waitForExit(std::chrono::milliseconds deadline)
{
    return proc.state() == QProcess::NotRunning || proc.waitForFinished(static_cast<int>(deadline.count()));
}

void ZelhostProcess::addEnvironment(QProcessEnvironment const& extra)
{
    QProcessEnvironment env = proc.processEnvironment();
    env.insert(extra);
    proc.setProcessEnvironment(env);
}

void ZelhostProcess::sendSignal(int signal) { ::kill(static_cast<pid_t>(proc.processId()), signal); }

QString ZelhostProcess::standardError()
{
    errorText += QString::fromUtf8(proc.readAllStandardError());
    return errorText;
}

QString freeLoopbackAddress() { return QStringLiteral("tcp://127.0.0.1:%1").arg(freeLoopbackPort()); }

} // namespace zeltest
