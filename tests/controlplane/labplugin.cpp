#include "labplugin.h"

#include <zel/processorbase.h>
#include <zel/processorinfo.h>

#include <QMap>

#include <stdexcept>
#include <thread>
#include <tuple>

namespace cptest {

void Journal::note(QString const& call)
{
    std::lock_guard<std::mutex> lock(mutex);
    entries << call;
}

QStringList Journal::calls() const
{
    std::lock_guard<std::mutex> lock(mutex);
    return entries;
}

bool Journal::waitForCall(QString const& call, std::chrono::milliseconds deadline) const
{
    return zeltest::waitUntil([&] { return calls().contains(call); }, deadline);
}

namespace {

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
        journal->note(
            QStringLiteral("connect %1 %2 %3").arg(streamName, streamAddress, QStringList(filters.toList()).join(',')));
        return !behaviour.refuseAll;
    }

    bool start(QString const& streamName) override
    {
        journal->note(QStringLiteral("start %1").arg(streamName));
        return !behaviour.refuseAll;
    }

    bool stop(QString const& streamName) override
    {
        journal->note(QStringLiteral("stop %1").arg(streamName));
        return !behaviour.refuseAll;
    }

    bool setParameter(QString const& name, QString const& value) override
    {
        journal->note(QStringLiteral("set %1=%2").arg(name, value));
        if (behaviour.refuseAll)
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
        journal->note(QStringLiteral("get %1").arg(name));
        if (behaviour.refuseAll || !values.contains(name))
            return false;
        value = values[name];
        return true;
    }

    bool getParameterList(QStringList& list) override
    {
        journal->note(QStringLiteral("list"));
        list = names;
        return !behaviour.refuseAll;
    }

    bool startNewRecording(QString& value) override
    {
        journal->note(QStringLiteral("record %1").arg(value));
        if (value == QLatin1String("hold"))
            holdUntilStopWaits();
        // Written even when refusing: the failure text must still name what came in.
        value += QLatin1String("#1");
        return !behaviour.refuseAll;
    }

    bool querySources(QVector<zelmsg::DataSource>& sources) override
    {
        journal->note(QStringLiteral("sources"));
        return !behaviour.refuseAll && ProcessorBase::querySources(sources);
    }

    bool queryStreams(QVector<zelmsg::DataStream>& streams) override
    {
        journal->note(QStringLiteral("streams"));
        return !behaviour.refuseAll && ProcessorBase::queryStreams(streams);
    }

private:
    // Busy in a handler until the stop frame lies in the control socket, unread.
    void holdUntilStopWaits()
    {
        journal->holding = true;
        zmq::pollitem_t item { controlSocket->handle(), 0, ZMQ_POLLIN, 0 };
        zmq::poll(&item, 1, zeltest::defaultDeadline);
        journal->holding = false;
    }

    Behaviour behaviour;
    std::shared_ptr<Journal> journal;
    QStringList names;
    QMap<QString, QString> values;
};

} // namespace

std::shared_ptr<Journal> LabPlugin::prepare(std::string const& name, Behaviour behaviour)
{
    auto journal = std::make_shared<Journal>();
    std::lock_guard<std::mutex> lock(mutex);
    prepared[name] = { std::move(behaviour), journal };
    return journal;
}

QString LabPlugin::getName() const { return QStringLiteral("lab"); }

QStringList LabPlugin::getProcessorTypes() const { return { QStringLiteral("Recorder") }; }

zel::ProcessorBase* LabPlugin::createProcessor(zel::ProcessorInfo const& info)
{
    QString const type = QString::fromStdString(info.processorType);
    if (type.mid(type.indexOf(QLatin1Char('.')) + 1) != QLatin1String("Recorder"))
        return nullptr;
    Behaviour behaviour;
    auto journal = std::make_shared<Journal>();
    {
        std::lock_guard<std::mutex> lock(mutex);
        auto const it = prepared.find(info.processorName);
        if (it != prepared.end()) {
            std::tie(behaviour, journal) = it->second;
            prepared.erase(it);
        }
    }
    return new Recorder(info, std::move(behaviour), std::move(journal));
}

} // namespace cptest
