#pragma once

#include <zel/zelmsg/datasource.h>
#include <zel/zelmsg/datastream.h>
#include <zel/zelmsg/recordfields.h>

namespace zelmsg {

// A processor's configuration: what it is, its inputs and its outputs.
class ZEL_EXPORT Processor : public RECORDMODEL::IRMObject
{
public:
    // GetId() is this constant; GetID() is the field.
    static constexpr qint64 id = 0x831E9FA2;

    ZELMSG_RECORD_MEMBERS(Processor)

    // The fields, in field order. recordfields.h says where the bodies of these accessors come from.
    // Identity of the configuration; carried, nothing reads it.
    QString GetID() const;
    QString GetDefaultID() const;
    bool IsValidID(QString const& value) const;
    bool IsIDSet() const;
    void SetID(QString value);
    void ResetID();

    // Type of the processor; carried, creation goes by the message's own.
    QString GetProcessorType() const;
    QString GetDefaultProcessorType() const;
    bool IsValidProcessorType(QString const& value) const;
    bool IsProcessorTypeSet() const;
    void SetProcessorType(QString value);
    void ResetProcessorType();

    // Its inputs; any source may be appended.
    QVector<DataSource> const& GetDataSource() const;
    QVector<DataSource>& GetDataSource();
    bool IsValidDataSource(QVector<DataSource> const& value) const;
    bool IsValidDataSource(DataSource const& value) const;
    bool IsDataSourceSet() const;
    void SetDataSource(QVector<DataSource> const& value);
    void AppendDataSource(DataSource const& value);
    void ResetDataSource();

    // Its outputs; an appended stream must have a name.
    QVector<DataStream> const& GetDataStream() const;
    QVector<DataStream>& GetDataStream();
    bool IsValidDataStream(QVector<DataStream> const& value) const;
    bool IsValidDataStream(DataStream const& value) const;
    bool IsDataStreamSet() const;
    void SetDataStream(QVector<DataStream> const& value);
    void AppendDataStream(DataStream const& value);
    void ResetDataStream();
};

} // namespace zelmsg
