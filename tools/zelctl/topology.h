#pragma once

#include "systemclient.h"

#include <zel/zelmsg/controlmessage.h>

#include <QString>
#include <QVector>

// One processor as its queries describe it.
struct ProcessorView
{
    QString group;
    QString name;
    QVector<zelmsg::DataStream> streams; // with the addresses they are bound to
    QVector<zelmsg::DataSource> sources;
    QString problem; // why streams or sources are missing; empty when it answered
};

struct GroupView
{
    QString name;
    QVector<ProcessorView> processors;
    QString problem; // why processors are missing; empty when it answered
};

// An input of `to` and the stream published at its address; `from` is null when nothing in the
// system publishes there.
struct Link
{
    ProcessorView const* from;
    QString stream;
    ProcessorView const* to;
    zelmsg::DataSource source;
};

// The running system: every group, processor, stream and input, by the query messages.
struct Topology
{
    QVector<GroupView> groups;

    // Asks the manager, every group and every processor, one after the other on the calling
    // thread; only `group` and its processors when one is named. Only the manager's answer is
    // needed: a group or processor that fails or stays silent is kept with its problem. On failure
    // `failed` holds the manager's reply.
    static Outcome query(
        SystemClient& client, Topology& topology, zelmsg::ControlMessage& failed, QString const& group = QString());
    // Every input, matched by address to the stream it takes; valid while this topology lives.
    QVector<Link> links() const;
};
