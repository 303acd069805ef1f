#pragma once

#include "support/polling.h"

#include <zel/plugin.h>

#include <QStringList>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace cptest {

// What one test processor did, written on its thread and read by the test.
class Journal
{
public:
    void note(QString const& call);
    QStringList calls() const;
    bool waitForCall(QString const& call, std::chrono::milliseconds deadline = zeltest::defaultDeadline) const;

    std::atomic<bool> holding { false };
    std::atomic<bool> released { false };
    std::atomic<bool> destroyed { false };
    std::atomic<int> idleRuns { 0 };

private:
    mutable std::mutex mutex;
    QStringList entries;
};

// How the next test processor of a name behaves.
struct Behaviour
{
    bool refuseAll = false; // every operation of the control interface gives false
    bool throwInConstructor = false;
    bool throwInInitialize = false;
    bool slowRelease = false; // so that a caller who does not wait for the thread's end would notice
    int idlePeriod = -1; // enableIdleProcessing with it when not negative
    std::vector<std::string> subscriptions;
};

// The plug-in "lab", registered in-process. Its one type, "Recorder", notes every call of the control
// interface in a journal; parameters are kept in the order first set. The parameter "idle" also
// switches idle processing ("off" or a period), and StartNewRecording of "hold" keeps the processor
// busy until a stop is waiting on its control socket.
class LabPlugin : public zel::Plugin
{
public:
    // Behaviour of the next processor made under `name`; its journal.
    std::shared_ptr<Journal> prepare(std::string const& name, Behaviour behaviour);

    QString getName() const override;
    QStringList getProcessorTypes() const override;
    zel::ProcessorBase* createProcessor(zel::ProcessorInfo const& info) override;

private:
    mutable std::mutex mutex; // groups make processors on their own threads
    std::map<std::string, std::pair<Behaviour, std::shared_ptr<Journal>>> prepared;
};

} // namespace cptest
