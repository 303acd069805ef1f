#pragma once

#include "support/polling.h"

#include <zel/plugin.h>
#include <zel/processorbase.h>
#include <zel/processorinfo.h>

#include <QMap>
#include <QStringList>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace zeltest {

// What one test processor did, written on its thread and read by the test.
class Journal
{
public:
    void note(QString const& call)
    {
        std::lock_guard<std::mutex> lock(mutex);
        entries << call;
    }
    QStringList calls() const
    {
        std::lock_guard<std::mutex> lock(mutex);
        return entries;
    }

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

// Journals the control calls that change something; parameters are kept in the order first set.
// "idle" switches idle processing ("off" or a period); recording "hold" busies it until a stop waits.
class Recorder : public zel::ProcessorBase
{
public:
    Recorder(zel::ProcessorInfo const& info, Behaviour behaviour, std::shared_ptr<Journal> journal)
        : ProcessorBase(info.configuration, info.processorName, info.groupName, info.addressPrefix)
        , behaviour(std::move(behaviour))
        , journal(std::move(journal))
    {
        if (this->behaviour.throwInConstructor)
            throw std::runtime_error("constructor refused");
    }

    ~Recorder() override { journal->destroyed = true; }

    bool initialize() override
    {
        if (!ProcessorBase::initialize())
            return false;
        if (behaviour.throwInInitialize)
            throw std::runtime_error("initialize refused");
        for (std::string const& name : behaviour.subscriptions)
            subscribeParameter(name);
        if (behaviour.idlePeriod >= 0)
            enableIdleProcessing(behaviour.idlePeriod);
        return true;
    }

    void release() override
    {
        if (behaviour.slowRelease)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        ProcessorBase::release();
        journal->released = true;
    }

protected:
    void doIdleProcessing() override { ++journal->idleRuns; }

    bool connect(QString const& streamName, QString const& streamAddress, QVector<QString> const& filters) override
    {
        return did(
            QStringLiteral("connect %1 %2 %3").arg(streamName, streamAddress, QStringList(filters.toList()).join(',')));
    }
    bool start(QString const& streamName) override { return did("start " + streamName); }
    bool stop(QString const& streamName) override { return did("stop " + streamName); }

    bool setParameter(QString const& name, QString const& value) override
    {
        if (!did(QStringLiteral("set %1=%2").arg(name, value)))
            return false;
        if (name == QLatin1String("idle")) {
            if (value == QLatin1String("off"))
                disableIdleProcessing();
            else
                enableIdleProcessing(value.toInt());
        }
        if (!names.contains(name))
            names << name;
        values[name] = value;
        return true;
    }

    bool getParameter(QString const& name, QString& value) override
    {
        value = values.value(name, value);
        return !behaviour.refuseAll && values.contains(name);
    }

    bool getParameterList(QStringList& list) override
    {
        list = names;
        return did("list");
    }

    bool startNewRecording(QString& value) override
    {
        journal->note(QStringLiteral("record %1").arg(value));
        if (value == QLatin1String("hold")) {
            // Busy in a handler until the stop frame lies in the control socket, unread.
            journal->holding = true;
            zmq::pollitem_t item { controlSocket->handle(), 0, ZMQ_POLLIN, 0 };
            zmq::poll(&item, 1, zeltest::defaultDeadline);
            journal->holding = false;
        }
        // Written even when refusing: the failure text must still name what came in.
        value += QLatin1String("#1");
        return !behaviour.refuseAll;
    }

    bool querySources(QVector<zelmsg::DataSource>& sources) override
    {
        return !behaviour.refuseAll && ProcessorBase::querySources(sources);
    }

    bool queryStreams(QVector<zelmsg::DataStream>& streams) override
    {
        return !behaviour.refuseAll && ProcessorBase::queryStreams(streams);
    }

private:
    bool did(QString const& call)
    {
        journal->note(call);
        return !behaviour.refuseAll;
    }

    Behaviour behaviour;
    std::shared_ptr<Journal> journal;
    QStringList names;
    QMap<QString, QString> values;
};

// The plug-in "lab", registered in-process, with its one type "Recorder".
class LabPlugin : public zel::Plugin
{
public:
    // Behaviour of the next processor made under `name`; its journal.
    std::shared_ptr<Journal> prepare(std::string const& name, Behaviour behaviour)
    {
        auto journal = std::make_shared<Journal>();
        std::lock_guard<std::mutex> lock(mutex);
        prepared[name] = { std::move(behaviour), journal };
        return journal;
    }

    QString getName() const override { return QStringLiteral("lab"); }
    QStringList getProcessorTypes() const override { return { QStringLiteral("Recorder") }; }

    zel::ProcessorBase* createProcessor(zel::ProcessorInfo const& info) override
    {
        QString const type = QString::fromStdString(info.processorType);
        if (type.mid(type.indexOf(QLatin1Char('.')) + 1) != QLatin1String("Recorder"))
            return nullptr;
        std::lock_guard<std::mutex> lock(mutex);
        auto const [behaviour, journal] = prepared[info.processorName];
        prepared.erase(info.processorName);
        return new Recorder(info, behaviour, journal ? journal : std::make_shared<Journal>());
    }

private:
    mutable std::mutex mutex; // groups make processors on their own threads
    std::map<std::string, std::pair<Behaviour, std::shared_ptr<Journal>>> prepared;
};

} // namespace zeltest
