#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <chrono>

namespace zeltest {

// One zelhost process with a configuration of its own in a temporary folder.
class ZelhostProcess
{
public:
    // Writes NAME.ini with the given content ("key=value" lines); a null content writes no file.
    explicit ZelhostProcess(QString const& iniContent, QString const& name = QStringLiteral("zeltest"));
    ~ZelhostProcess();

    bool start();
    // The first line on stdout, without its line end; empty when none came within the deadline.
    QString waitForFirstLine(std::chrono::milliseconds deadline = std::chrono::seconds(10));
    // Waits for the end; false on time-out.
    bool waitForExit(std::chrono::milliseconds deadline = std::chrono::seconds(10));
    void sendSignal(int signal);

    QProcess& process() { return proc; }
    QString standardError();

private:
    QTemporaryDir dir;
    QString name;
    QProcess proc;
    QString errorText;
};

} // namespace zeltest
