#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

namespace zeltest {

// One zelhost process with a configuration of its own in a temporary folder.
class ZelhostProcess
{
public:
    // Writes NAME.ini with the given content ("key=value" lines); a null content writes no file.
    explicit ZelhostProcess(QString const& iniContent, QString const& name = QStringLiteral("zeltest"));
    ~ZelhostProcess();

    // Configured with EnvironmentAddress=`address` alone; a free loopback port when none is given.
    static std::unique_ptr<ZelhostProcess> listeningAt(QString address = {});

    // Variables the process gets on top of the test's own.
    void addEnvironment(QProcessEnvironment const& extra);
    bool start();
    // Starts it and waits for "zelhost: ready at <address>"; a failure carries what zelhost said.
    testing::AssertionResult startReady();
    // The first line on stdout, without its line end; empty when none came within the deadline.
    QString waitForFirstLine(std::chrono::milliseconds deadline = std::chrono::seconds(10));
    // Waits for the end; false on time-out.
    bool waitForExit(std::chrono::milliseconds deadline = std::chrono::seconds(10));
    void sendSignal(int signal);

    QProcess& process() { return proc; }
    QString standardError();

    QString address; // set by listeningAt

private:
    QTemporaryDir dir;
    QProcess proc;
    QString errorText;
};

// tcp://127.0.0.1 with a port that is free right now.
QString freeLoopbackAddress();

} // namespace zeltest
