#pragma once

#include "invocation.h"
#include "pipeline.h"

#include <QMap>
#include <QString>
#include <QStringList>

#include <map>
#include <memory>

// Brings the hosts to what a pipeline file describes (apply) or takes its parts away again
// (down). Each step asks first, so that a second run finds nothing to do. Runs on the caller's
// thread and blocks on each exchange; stops at the first failure, which names the file's line.
class PipelineRun
{
public:
    // `defaultClient` talks to the default host (--address) and outlives the run.
    PipelineRun(Pipeline const& pipeline, SystemClient& defaultClient);

    int apply();
    int down();

    // The commands: FILE is the only argument.
    static int applyCommand(Invocation& call);
    static int downCommand(Invocation& call);

private:
    SystemClient& client(QString const& host);
    QString frontend(QString const& host);
    // One exchange; a failure is printed at `line` with `what` and ends the run.
    bool ask(QString const& host, std::string const& identity, zelmsg::ControlMessage& record, int line,
        QString const& what);
    void did(QString const& text);
    void summarise(QString const& none) const;

    bool groupExists(PipelineGroup const& g, bool& exists);
    bool processorsOf(PipelineGroup const& g, QStringList& names);
    bool applyGroup(PipelineGroup const& g);
    bool applyProcessor(PipelineGroup const& g, PipelineProcessor const& p);
    bool applyTake(PipelineGroup const& g, PipelineProcessor const& p, PipelineTake const& take);
    bool applyParameters(PipelineGroup const& g, PipelineProcessor const& p, bool created);

    Pipeline const& pipeline;
    SystemClient& defaultClient;
    std::map<QString, std::unique_ptr<SystemClient>> clients; // by host name
    QMap<QString, QStringList> groupsByHost; // what QueryGroups said, kept up to date
    int changes = 0;
    int exitCode = ExitSuccess;
};
