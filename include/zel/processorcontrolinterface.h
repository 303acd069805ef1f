#pragma once

#include <zel/zel_export.h>
#include <zel/zelmsg/datasource.h>
#include <zel/zelmsg/datastream.h>

#include <QString>
#include <QStringList>
#include <QVector>

namespace zel {

// The operations every processor answers; each gives true on success. Only the control handler
// calls them, on the processor's own thread.
class ZEL_EXPORT ProcessorControlInterface
{
public:
    // Take in a stream: attach to the address and subscribe the filters.
    virtual bool connect(QString const& streamName, QString const& streamAddress, QVector<QString> const& filters) = 0;
    // Start or stop the named stream, or all when the name is empty.
    virtual bool start(QString const& streamName) = 0;
    virtual bool stop(QString const& streamName) = 0;
    virtual bool setParameter(QString const& name, QString const& value) = 0;
    virtual bool getParameter(QString const& name, QString& value) = 0;
    virtual bool getParameterList(QStringList& names) = 0;
    // What goes in and comes back is the processor's affair.
    virtual bool startNewRecording(QString& value) = 0;
    virtual bool querySources(QVector<zelmsg::DataSource>& sources) = 0;
    virtual bool queryStreams(QVector<zelmsg::DataStream>& streams) = 0;

protected:
    ~ProcessorControlInterface() = default;
};

} // namespace zel
