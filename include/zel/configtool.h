#pragma once

#include <zel/zel_export.h>
#include <zel/zelmsg/controlmessage.h>
#include <zel/zelmsg/processor.h>

#include <QString>
#include <QStringList>
#include <QVector>

namespace zel {

// Edits a processor's configuration, keyed by source address or stream name (exact, case sensitive), and
// writes the result of a control message into its record. Stateless.
class ZEL_EXPORT ConfigTool
{
public:
    ConfigTool();
    virtual ~ConfigTool();

    static int indexOfDataSource(zelmsg::Processor const& config, QString const& address);
    // False, and no change, when a source with this address exists already.
    static bool addDataSource(zelmsg::Processor& config, QString const& address);
    // Adds the filters the source lacks; an empty list drops all of them (no filter: everything).
    // True when something changed; false for an unknown source.
    static bool addDataFilter(zelmsg::Processor& config, QString const& address, QVector<QString> const& filters);
    static QVector<QString> getDataFilter(zelmsg::Processor& config, QString const& address);
    // Point into `config`; valid while it isn't changed.
    static zelmsg::DataSource const* getDataSource(zelmsg::Processor const& config, QString const& address);
    static zelmsg::DataStream const* getDataStream(zelmsg::Processor const& config, QString const& name);
    // The names, sorted.
    static QStringList getDataStreams(zelmsg::Processor const& config);
    // False, and no change, for an unknown stream.
    static bool setStreamRunning(zelmsg::Processor& config, QString const& name, bool running);

    static QString getAddressList(QVector<QString> const& addresses, QString const& separator);
    // Tells which record a text holds without reading it: the first element's name, or empty.
    static QString getRootElement(QString const& xml);

    static void setResultSuccess(zelmsg::ControlMessage& message);
    // For results that are a value: it goes into Parameter, never null.
    static void setResultSuccess(zelmsg::ControlMessage& message, QString const& value);
    static void setWarningMessage(zelmsg::ControlMessage& message, QString const& text);
    static void setErrorMessage(zelmsg::ControlMessage& message, QString const& text);
};

} // namespace zel
