#include "pipeline.h"

#include "jsonlines.h"

#include <zel/curvekeys.h>
#include <zel/curvesecurity.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <functional>
#include <map>
#include <tuple>

namespace {

struct FileError
{
    int line;
    QString text;
};

// Turns JSON values into the model's fields, or throws FileError at the value's line.
class Reader
{
public:
    explicit Reader(QByteArray const& text)
        : lines(text)
    { }

    int line(QString const& path) const { return lines.line(path); }

    [[noreturn]] void fail(QString const& path, QString const& text) const { throw FileError { line(path), text }; }

    // An object with only the keys a reader knows: a misspelt key must not pass unnoticed.
    QJsonObject object(QJsonValue const& value, QString const& path, QStringList const& keys) const
    {
        if (!value.isObject())
            fail(path, QStringLiteral("expected an object"));
        QJsonObject const object = value.toObject();
        for (QString const& key : object.keys()) {
            if (!keys.contains(key))
                fail(path + QLatin1Char('/') + key,
                    QStringLiteral("unknown key \"%1\" (known: %2)").arg(key, keys.join(QStringLiteral(", "))));
        }
        return object;
    }

    QJsonArray array(QJsonObject const& object, QString const& path, QString const& key) const
    {
        QJsonValue const value = object.value(key);
        if (!value.isUndefined() && !value.isArray())
            fail(path + QLatin1Char('/') + key, QStringLiteral("\"%1\" takes an array").arg(key));
        return value.toArray();
    }

    QString text(QJsonObject const& object, QString const& path, QString const& key, bool required = false) const
    {
        QJsonValue const value = object.value(key);
        if (value.isUndefined() && !required)
            return QString();
        if (!value.isString() || value.toString().isEmpty())
            fail(value.isUndefined() ? path : path + QLatin1Char('/') + key,
                QStringLiteral("\"%1\" takes a non-empty text").arg(key));
        return value.toString();
    }

    QStringList texts(QJsonObject const& object, QString const& path, QString const& key) const
    {
        QStringList result;
        QJsonArray const values = array(object, path, key);
        for (int i = 0; i < values.size(); ++i) {
            if (!values[i].isString())
                fail(QStringLiteral("%1/%2/%3").arg(path, key).arg(i), QStringLiteral("expected a text"));
            result << values[i].toString();
        }
        return result;
    }

    // A parameter's value as the processor gets it: texts as they are, numbers and booleans written out.
    QString scalar(QJsonValue const& value, QString const& path) const
    {
        if (!value.isString() && !value.isDouble() && !value.isBool())
            fail(path, QStringLiteral("a parameter is a text, a number or a boolean"));
        return value.toVariant().toString();
    }

private:
    JsonLines lines;
};

QString at(QString const& path, QString const& key, int index)
{
    return QStringLiteral("%1/%2/%3").arg(path, key).arg(index);
}

PipelineTake readTake(Reader const& r, QJsonValue const& value, QString const& path, PipelineGroup const& taker)
{
    QJsonObject const o = r.object(value, path, { "stream", "group", "host", "filters" });
    PipelineTake take;
    take.stream = r.text(o, path, QStringLiteral("stream"), true);
    take.group = r.text(o, path, QStringLiteral("group"));
    if (take.group.isEmpty())
        take.group = taker.name;
    take.host = r.text(o, path, QStringLiteral("host"));
    take.filters = r.texts(o, path, QStringLiteral("filters"));
    take.line = r.line(path);
    return take;
}

QList<QPair<QString, QString>> readParameters(Reader const& r, QJsonValue const& value, QString const& path)
{
    if (!value.isUndefined() && !value.isObject())
        r.fail(path, QStringLiteral("\"parameters\" takes an object"));
    QList<QPair<QString, QString>> parameters;
    QJsonObject const values = value.toObject();
    for (auto it = values.begin(); it != values.end(); ++it)
        parameters << qMakePair(it.key(), r.scalar(it.value(), path + QLatin1Char('/') + it.key()));
    return parameters;
}

PipelineProcessor readProcessor(Reader const& r, QJsonValue const& value, QString const& path, PipelineGroup const& g)
{
    QJsonObject const o = r.object(value, path, { "name", "type", "stream", "addresses", "parameters", "takes" });
    PipelineProcessor p;
    p.name = r.text(o, path, QStringLiteral("name"), true);
    p.type = r.text(o, path, QStringLiteral("type"), true);
    p.stream = r.text(o, path, QStringLiteral("stream"));
    p.addresses = r.texts(o, path, QStringLiteral("addresses"));
    if (p.stream.isEmpty() != p.addresses.isEmpty())
        r.fail(path, QStringLiteral("\"stream\" and \"addresses\" go together"));
    p.parameters = readParameters(r, o.value(QStringLiteral("parameters")), path + QStringLiteral("/parameters"));
    QJsonArray const takes = r.array(o, path, QStringLiteral("takes"));
    for (int i = 0; i < takes.size(); ++i)
        p.takes.push_back(readTake(r, takes[i], at(path, QStringLiteral("takes"), i), g));
    p.line = r.line(path);
    return p;
}

PipelineGroup readGroup(Reader const& r, QJsonValue const& value, QString const& path, Pipeline const& pipeline)
{
    QJsonObject const o = r.object(value, path, { "name", "host", "processors" });
    PipelineGroup g;
    g.name = r.text(o, path, QStringLiteral("name"), true);
    g.host = r.text(o, path, QStringLiteral("host"));
    g.line = r.line(path);
    if (!g.host.isEmpty() && !pipeline.hosts.contains(g.host))
        r.fail(path + QStringLiteral("/host"), QStringLiteral("no host \"%1\" in \"hosts\"").arg(g.host));
    if (pipeline.findGroup(g.host, g.name))
        r.fail(path, QStringLiteral("group %1 comes twice on its host").arg(g.name));
    QJsonArray const processors = r.array(o, path, QStringLiteral("processors"));
    for (int i = 0; i < processors.size(); ++i) {
        QString const where = at(path, QStringLiteral("processors"), i);
        PipelineProcessor p = readProcessor(r, processors[i], where, g);
        for (PipelineProcessor const& other : g.processors) {
            if (other.name == p.name)
                r.fail(where, QStringLiteral("processor %1 comes twice in group %2").arg(p.name, g.name));
        }
        g.processors.push_back(std::move(p));
    }
    return g;
}

// A take without a host looks for its group in the file: the one group of that name, or the
// taker's host when there is none or more than one.
void resolveTakeHosts(Pipeline& pipeline)
{
    for (PipelineGroup& g : pipeline.groups) {
        for (PipelineProcessor& p : g.processors) {
            for (PipelineTake& take : p.takes) {
                if (!take.host.isEmpty()) {
                    if (!pipeline.hosts.contains(take.host))
                        throw FileError { take.line, QStringLiteral("no host \"%1\" in \"hosts\"").arg(take.host) };
                    continue;
                }
                QStringList hostsWithGroup;
                for (PipelineGroup const& candidate : pipeline.groups) {
                    if (candidate.name == take.group)
                        hostsWithGroup << candidate.host;
                }
                take.host = hostsWithGroup.size() == 1 ? hostsWithGroup.first() : g.host;
            }
        }
    }
}

// A bridge's stream names the message type it passes on, not an output of its own: a bridge taking
// the stream whose type it posts is no loop.
bool isBridge(QString const& type)
{
    QString const bare = type.section(QLatin1Char('.'), -1);
    return bare == QLatin1String("HttpBridge") || bare == QLatin1String("QtBridge");
}

// Depth first over the producers of each processor's inputs; a loop is an error.
void orderSteps(Pipeline& pipeline)
{
    std::vector<Pipeline::Step> steps;
    std::map<std::tuple<QString, QString, QString>, std::size_t> producers; // host, group, stream
    for (PipelineGroup const& g : pipeline.groups) {
        for (PipelineProcessor const& p : g.processors) {
            if (!p.stream.isEmpty() && !isBridge(p.type))
                producers[{ g.host, g.name, p.stream }] = steps.size();
            steps.push_back({ &g, &p });
        }
    }
    enum { Unseen, Visiting, Done };
    std::vector<int> state(steps.size(), Unseen);
    std::function<void(std::size_t)> visit = [&](std::size_t i) {
        state[i] = Visiting;
        for (PipelineTake const& take : steps[i].processor->takes) {
            auto const producer = producers.find({ take.host, take.group, take.stream });
            if (producer == producers.end() || state[producer->second] == Done)
                continue;
            if (state[producer->second] == Visiting)
                throw FileError { take.line,
                    QStringLiteral("stream %1 leads back to processor %2 in a loop")
                        .arg(take.stream, steps[i].processor->name) };
            visit(producer->second);
        }
        state[i] = Done;
        pipeline.order.push_back(steps[i]);
    };
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (state[i] == Unseen)
            visit(i);
    }
}

// "hostKeys": host name -> its public key file (beside the pipeline file) or the key itself. The key
// goes behind the host's address, where the sockets that reach it find it.
void readHostKeys(Pipeline& pipeline, Reader const& r, QJsonObject const& o)
{
    QJsonValue const keys = o.value(QStringLiteral("hostKeys"));
    if (!keys.isUndefined() && !keys.isObject())
        r.fail(
            QStringLiteral("hostKeys"), QStringLiteral("\"hostKeys\" takes an object: host name -> public key file"));
    QDir const folder = QFileInfo(pipeline.path).dir();
    for (QString const& name : keys.toObject().keys()) {
        QString const path = QStringLiteral("hostKeys/") + name;
        QString const given = r.text(keys.toObject(), QStringLiteral("hostKeys"), name, true);
        if (!pipeline.hosts.contains(name))
            r.fail(path, QStringLiteral("no host \"%1\" in \"hosts\"").arg(name));
        std::string key = given.toStdString();
        QString error;
        if (!zel::CurveKeys::isKey(key) && !zel::CurveKeys::readKey(folder.absoluteFilePath(given), key, error))
            r.fail(path, error);
        pipeline.hosts[name]
            = QString::fromStdString(zel::CurveSecurity::withServerKey(pipeline.hosts[name].toStdString(), key));
    }
}

void readPipeline(Pipeline& pipeline, Reader const& r, QJsonValue const& root)
{
    QJsonObject const o = r.object(root, QString(), { "hosts", "hostKeys", "groups" });
    QJsonValue const hosts = o.value(QStringLiteral("hosts"));
    if (!hosts.isUndefined() && !hosts.isObject())
        r.fail(QStringLiteral("hosts"), QStringLiteral("\"hosts\" takes an object: name -> frontend address"));
    for (QString const& name : hosts.toObject().keys()) {
        pipeline.hosts[name] = r.text(hosts.toObject(), QStringLiteral("hosts"), name, true);
        if (!pipeline.hosts[name].contains(QLatin1String("://")))
            r.fail(QStringLiteral("hosts/") + name,
                QStringLiteral("host %1 needs a frontend address such as "
                               "tcp://10.0.0.1:7700")
                    .arg(name));
    }
    readHostKeys(pipeline, r, o);
    QJsonArray const groups = r.array(o, QString(), QStringLiteral("groups"));
    for (int i = 0; i < groups.size(); ++i)
        pipeline.groups.push_back(readGroup(r, groups[i], QStringLiteral("groups/%1").arg(i), pipeline));
    resolveTakeHosts(pipeline);
    orderSteps(pipeline);
}

} // namespace

std::optional<Pipeline> Pipeline::read(QString const& path, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read %1").arg(path);
        return std::nullopt;
    }
    QByteArray const text = file.readAll();
    QJsonParseError parseError;
    QJsonDocument const document = QJsonDocument::fromJson(text, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        error = QStringLiteral("%1:%2: %3")
                    .arg(path)
                    .arg(JsonLines::lineOfOffset(text, parseError.offset))
                    .arg(parseError.errorString());
        return std::nullopt;
    }
    Pipeline pipeline;
    pipeline.path = path;
    try {
        readPipeline(pipeline, Reader(text), document.isObject() ? QJsonValue(document.object()) : QJsonValue());
    } catch (FileError const& e) {
        error = QStringLiteral("%1:%2: %3").arg(path).arg(e.line).arg(e.text);
        return std::nullopt;
    }
    return pipeline;
}

PipelineGroup const* Pipeline::findGroup(QString const& host, QString const& name) const
{
    for (PipelineGroup const& g : groups) {
        if (g.host == host && g.name == name)
            return &g;
    }
    return nullptr;
}
