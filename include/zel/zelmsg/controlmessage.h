#pragma once

#include <zel/zelmsg/datasource.h>
#include <zel/zelmsg/datastream.h>
#include <zel/zelmsg/processor.h>
#include <zel/zelmsg/recordfields.h>

namespace zelmsg {

// The record of every control exchange: a request, and the same record as its reply.
// Not the wire envelope zel::ControlMessage that carries it.
class ZEL_EXPORT ControlMessage : public RECORDMODEL::IRMObject
{
public:
    enum MessageType : qint8 {
        Created,
        Connect,
        QuerySources,
        QueryStreams,
        QueryProcessors,
        QueryGroups,
        Query,
        Explore,
        Lookup,
        Create,
        Delete,
        Start,
        Stop,
        // The three Parameter types are named apart from the members of the field Parameter.
        ParameterMessage,
        SetParameterMessage,
        GetParameterMessage,
        Terminate,
        Unregister,
        Shutdown,
        ProcessorCreated,
        ProcessorConnect,
        GetParameterList,
        StartNewRecording,
        RegisterStream,
        DeregisterStream,
        ResolveStream,
        CreateGroup,
        DeleteGroup,
    };
    enum ResultType : qint8 { Success, Warning, Error };

    static constexpr qint64 id = 0x4C4C639D;

    ZELMSG_RECORD_MEMBERS(ControlMessage)

    // The fields, in field order. recordfields.h says where the bodies of these accessors come from.
    // What the message asks or reports; the one mandatory field.
    MessageType const& GetMessageType() const;
    MessageType GetDefaultMessageType() const;
    MessageType GetInvalidMessageType() const;
    bool IsValidMessageType(MessageType const& value) const;
    bool IsMessageTypeSet() const;
    void SetMessageType(MessageType const& value);
    void ResetMessageType();
    QString GetMessageTypeAsString() const;
    QString MessageTypeToName(MessageType const& value) const;
    MessageType NameToMessageType(QString const& name) const;
    static QStringList const& GetMessageTypes();
    static QStringList GetGUIMessageTypes();

    // Configuration of a processor.
    Processor const& GetProcessor() const;
    Processor& GetProcessor();
    bool IsValidProcessor(Processor const& value) const;
    bool IsProcessorSet() const;
    void SetProcessor(Processor const& value);
    void ResetProcessor();

    // Input definitions; an appended item must have data.
    QVector<DataSource> const& GetDataSource() const;
    QVector<DataSource>& GetDataSource();
    bool IsValidDataSource(QVector<DataSource> const& value) const;
    bool IsValidDataSource(DataSource const& value) const;
    bool IsDataSourceSet() const;
    void SetDataSource(QVector<DataSource> const& value);
    void AppendDataSource(DataSource const& value);
    void ResetDataSource();

    // Output definitions; an appended stream must have a name.
    QVector<DataStream> const& GetDataStream() const;
    QVector<DataStream>& GetDataStream();
    bool IsValidDataStream(QVector<DataStream> const& value) const;
    bool IsValidDataStream(DataStream const& value) const;
    bool IsDataStreamSet() const;
    void SetDataStream(QVector<DataStream> const& value);
    void AppendDataStream(DataStream const& value);
    void ResetDataStream();

    // Name of a stream.
    QString GetStreamName() const;
    QString GetDefaultStreamName() const;
    bool IsValidStreamName(QString const& value) const;
    bool IsStreamNameSet() const;
    void SetStreamName(QString value);
    void ResetStreamName();

    // One address of a stream.
    QString GetStreamAddress() const;
    QString GetDefaultStreamAddress() const;
    bool IsValidStreamAddress(QString const& value) const;
    bool IsStreamAddressSet() const;
    void SetStreamAddress(QString value);
    void ResetStreamAddress();

    // Several addresses of a stream.
    QVector<QString> const& GetStreamAddresses() const;
    QVector<QString>& GetStreamAddresses();
    QString GetDefaultStreamAddresses() const;
    bool IsValidStreamAddresses(QVector<QString> const& value) const;
    bool IsValidStreamAddresses(QString const& value) const;
    bool IsStreamAddressesSet() const;
    void SetStreamAddresses(QVector<QString> const& value);
    void AppendStreamAddresses(QString const& value);
    void ResetStreamAddresses();

    // Subscription filters.
    QVector<QString> const& GetMessageFilter() const;
    QVector<QString>& GetMessageFilter();
    QString GetDefaultMessageFilter() const;
    bool IsValidMessageFilter(QVector<QString> const& value) const;
    bool IsValidMessageFilter(QString const& value) const;
    bool IsMessageFilterSet() const;
    void SetMessageFilter(QVector<QString> const& value);
    void AppendMessageFilter(QString const& value);
    void ResetMessageFilter();

    // Name of a parameter.
    QString GetParameterName() const;
    QString GetDefaultParameterName() const;
    bool IsValidParameterName(QString const& value) const;
    bool IsParameterNameSet() const;
    void SetParameterName(QString value);
    void ResetParameterName();

    // Value of a parameter, or a reply's result value.
    QString GetParameter() const;
    QString GetDefaultParameter() const;
    bool IsValidParameter(QString const& value) const;
    bool IsParameterSet() const;
    void SetParameter(QString value);
    void ResetParameter();

    // Name of a processor group.
    QString GetGroupName() const;
    QString GetDefaultGroupName() const;
    bool IsValidGroupName(QString const& value) const;
    bool IsGroupNameSet() const;
    void SetGroupName(QString value);
    void ResetGroupName();

    // Name of a processor.
    QString GetProcessorName() const;
    QString GetDefaultProcessorName() const;
    bool IsValidProcessorName(QString const& value) const;
    bool IsProcessorNameSet() const;
    void SetProcessorName(QString value);
    void ResetProcessorName();

    // Type of a processor; what creation goes by.
    QString GetProcessorType() const;
    QString GetDefaultProcessorType() const;
    bool IsValidProcessorType(QString const& value) const;
    bool IsProcessorTypeSet() const;
    void SetProcessorType(QString value);
    void ResetProcessorType();

    // Explanation of a Warning or Error reply.
    QString GetMessageText() const;
    QString GetDefaultMessageText() const;
    bool IsValidMessageText(QString const& value) const;
    bool IsMessageTextSet() const;
    void SetMessageText(QString value);
    void ResetMessageText();

    // Outcome of a reply; unset reads as Success.
    ResultType const& GetResultType() const;
    ResultType GetDefaultResultType() const;
    ResultType GetInvalidResultType() const;
    bool IsValidResultType(ResultType const& value) const;
    bool IsResultTypeSet() const;
    void SetResultType(ResultType const& value);
    void ResetResultType();
    QString GetResultTypeAsString() const;
    QString ResultTypeToName(ResultType const& value) const;
    ResultType NameToResultType(QString const& name) const;
    static QStringList const& GetResultTypes();
    static QStringList GetGUIResultTypes();

    ZELMSG_DECLARE_TR
};

} // namespace zelmsg
