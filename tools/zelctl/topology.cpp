#include "topology.h"

#include "hostfailure.h"
#include "identities.h"

#include <zel/controlmessagehelper.h>

#include <QHash>

#include <utility>

namespace {

using zel::ControlMessageHelper;
using zelmsg::ControlMessage;

QString const noAnswer = QStringLiteral("no answer");

// Empty when the request succeeded, else what went wrong.
QString ask(SystemClient& client, std::string const& identity, ControlMessage& record)
{
    switch (client.request(identity, record)) {
    case Outcome::Success:
        return {};
    case Outcome::Failure:
        return record.GetMessageText();
    case Outcome::Timeout:
        break;
    }
    return noAnswer;
}

QStringList names(QString const& list) { return list.split(QLatin1Char(','), Qt::SkipEmptyParts); }

ProcessorView queryProcessor(SystemClient& client, QString const& group, QString const& name)
{
    ProcessorView view { group, name, {}, {}, {} };
    std::string const identity = Identities::processor(group, name);
    ControlMessage streams = ControlMessageHelper::makeQueryStreamsMessage();
    view.problem = ask(client, identity, streams);
    if (view.problem == noAnswer) {
        if (std::optional<QString> const reason = hostKnownFailure(client, identity))
            view.problem = QStringLiteral("ended by a failure: %1").arg(*reason);
    }
    if (!view.problem.isEmpty())
        return view; // a silent processor would only keep us waiting once more
    view.streams = streams.GetDataStream();
    ControlMessage sources = ControlMessageHelper::makeQuerySourcesMessage();
    view.problem = ask(client, identity, sources);
    view.sources = sources.GetDataSource();
    return view;
}

GroupView queryGroup(SystemClient& client, QString const& name)
{
    GroupView view { name, {}, {} };
    ControlMessage processors = ControlMessageHelper::makeQueryProcessorsMessage();
    view.problem = ask(client, Identities::group(name), processors);
    if (!view.problem.isEmpty())
        return view;
    for (QString const& processor : names(processors.GetParameter()))
        view.processors.append(queryProcessor(client, name, processor));
    return view;
}

} // namespace

Outcome Topology::query(SystemClient& client, Topology& topology, ControlMessage& failed, QString const& only)
{
    failed = ControlMessageHelper::makeQueryProcessorGroupsMessage();
    Outcome const outcome = client.request(Identities::manager(), failed);
    if (outcome != Outcome::Success)
        return outcome;
    for (QString const& group : names(failed.GetParameter())) {
        if (only.isEmpty() || group == only)
            topology.groups.append(queryGroup(client, group));
    }
    return outcome;
}

QVector<Link> Topology::links() const
{
    QHash<QString, std::pair<ProcessorView const*, QString>> publishers;
    for (GroupView const& group : groups) {
        for (ProcessorView const& processor : group.processors) {
            for (zelmsg::DataStream const& stream : processor.streams) {
                for (QString const& address : stream.GetAddress())
                    publishers.insert(address, { &processor, stream.GetName() });
            }
        }
    }
    QVector<Link> result;
    for (GroupView const& group : groups) {
        for (ProcessorView const& processor : group.processors) {
            for (zelmsg::DataSource const& source : processor.sources) {
                auto const publisher = publishers.value(source.GetAddress());
                result.append({ publisher.first, publisher.second, &processor, source });
            }
        }
    }
    return result;
}
