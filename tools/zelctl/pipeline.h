#pragma once

#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

// A pipeline as a JSON file describes it. Each element keeps the line it starts on, so that an
// error can point at it. Host "" is the default host (--address).

// "takes stream S of group G on host H, filters F".
struct PipelineTake
{
    QString stream;
    QString group; // the taker's group when the file names none
    QString host; // resolved: the group's host when the file has the group, else the taker's
    QStringList filters; // empty: everything
    int line = 0;
};

struct PipelineProcessor
{
    QString name;
    QString type;
    QString stream; // empty: no stream of its own
    QStringList addresses;
    QList<QPair<QString, QString>> parameters; // in name order
    std::vector<PipelineTake> takes;
    int line = 0;
};

struct PipelineGroup
{
    QString name;
    QString host;
    std::vector<PipelineProcessor> processors;
    int line = 0;
};

struct Pipeline
{
    Pipeline() = default;
    Pipeline(Pipeline&&) = default; // the steps point into the groups, whose storage moves along
    Pipeline(Pipeline const&) = delete;
    Pipeline& operator=(Pipeline const&) = delete;

    QString path;
    QMap<QString, QString> hosts; // name -> frontend address
    std::vector<PipelineGroup> groups;

    struct Step
    {
        PipelineGroup const* group;
        PipelineProcessor const* processor;
    };
    // Every processor once, each after the processors of the file whose streams it takes.
    std::vector<Step> order;

    // Reads and checks a file; on failure `error` is "FILE:LINE: what is wrong".
    static std::optional<Pipeline> read(QString const& path, QString& error);

    PipelineGroup const* findGroup(QString const& host, QString const& name) const;
};
