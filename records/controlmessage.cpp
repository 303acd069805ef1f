#include "recorddefinition.h"

#include <zel/zelmsg/controlmessage.h>

// The field table: name, tag in the binary form, and whether the field is always written.
#define ZELMSG_CONTROLMESSAGE_FIELDS(F, R)                                                                             \
    F(R, Enum, MessageType, 0x8F5AB013, Required)                                                                      \
    F(R, Record, Processor, 0xE4410EA4, Optional)                                                                      \
    F(R, RecordList, DataSource, 0xEC119564, Optional)                                                                 \
    F(R, RecordList, DataStream, 0xCEFB96FD, Optional)                                                                 \
    F(R, String, StreamName, 0x6C89AD67, Optional)                                                                     \
    F(R, String, StreamAddress, 0x0D7D1E05, Optional)                                                                  \
    F(R, StringList, StreamAddresses, 0xC4B1DD6D, Optional)                                                            \
    F(R, StringList, MessageFilter, 0xA91D769D, Optional)                                                              \
    F(R, String, ParameterName, 0x2086E0FA, Optional)                                                                  \
    F(R, String, Parameter, 0x019F37D2, Optional)                                                                      \
    F(R, String, GroupName, 0xA226B881, Optional)                                                                      \
    F(R, String, ProcessorName, 0xA8769323, Optional)                                                                  \
    F(R, String, ProcessorType, 0x4146CD0A, Optional)                                                                  \
    F(R, String, MessageText, 0xECE54606, Optional)                                                                    \
    F(R, Enum, ResultType, 0xEF892A49, Optional)

namespace zelmsg {

ZELMSG_DEFINE_RECORD(ControlMessage, ZELMSG_CONTROLMESSAGE_FIELDS)
ZELMSG_DEFINE_TR(ControlMessage)

// The message type is the one mandatory field.
bool ControlMessage::HasData() const { return d.constData() && d.constData()->bits.testBit(Data::bit_MessageType); }

QStringList const& ControlMessage::GetMessageTypes()
{
    static QStringList const names {
        QStringLiteral("Created"),
        QStringLiteral("Connect"),
        QStringLiteral("QuerySources"),
        QStringLiteral("QueryStreams"),
        QStringLiteral("QueryProcessors"),
        QStringLiteral("QueryGroups"),
        QStringLiteral("Query"),
        QStringLiteral("Explore"),
        QStringLiteral("Lookup"),
        QStringLiteral("Create"),
        QStringLiteral("Delete"),
        QStringLiteral("Start"),
        QStringLiteral("Stop"),
        QStringLiteral("Parameter"),
        QStringLiteral("SetParameter"),
        QStringLiteral("GetParameter"),
        QStringLiteral("Terminate"),
        QStringLiteral("Unregister"),
        QStringLiteral("Shutdown"),
        QStringLiteral("Processor_Created"),
        QStringLiteral("Processor_Connect"),
        QStringLiteral("GetParameterList"),
        QStringLiteral("StartNewRecording"),
        QStringLiteral("RegisterStream"),
        QStringLiteral("DeregisterStream"),
        QStringLiteral("ResolveStream"),
        QStringLiteral("CreateGroup"),
        QStringLiteral("DeleteGroup"),
    };
    return names;
}

QStringList const& ControlMessage::GetResultTypes()
{
    static QStringList const names { QStringLiteral("Success"), QStringLiteral("Warning"), QStringLiteral("Error") };
    return names;
}

} // namespace zelmsg
