#include "recordengine.h"

#include <zel/zelmsg/controlmessage.h>

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
