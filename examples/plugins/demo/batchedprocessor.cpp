#include "batchedprocessor.h"

namespace demo {

namespace {

// Enough to reach ZeroMQ's speed, few enough that a stop or a request waits a fraction of a
// millisecond at most.
constexpr int defaultBatch = 64;

} // namespace

BatchedProcessor::BatchedProcessor(zelmsg::Processor const& configuration, std::string const& processorName,
    std::string const& groupName, std::string const& addressPrefix)
    : StreamProcessor(configuration, processorName, groupName, addressPrefix)
{
    setInputBatchSize(defaultBatch);
}

bool BatchedProcessor::setParameter(QString const& name, QString const& value)
{
    bool ok = false;
    int const batch = value.toInt(&ok);
    if (name != QLatin1String("batch") || !ok || batch < 1)
        return false;
    setInputBatchSize(batch);
    return true;
}

bool BatchedProcessor::getParameter(QString const& name, QString& value)
{
    if (name != QLatin1String("batch"))
        return false;
    value = QString::number(getInputBatchSize());
    return true;
}

bool BatchedProcessor::getParameterList(QStringList& names)
{
    names << QStringLiteral("batch");
    return true;
}

} // namespace demo
