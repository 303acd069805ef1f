#pragma once

#include <zel/zelmsg/datasource.h>
#include <zel/zelmsg/datastream.h>
#include <zel/zelmsg/processor.h>
#include <zel/zelmsg/recordfields.h>

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
    ZELMSG_CONTROLMESSAGE_FIELDS(ZELMSG_DECLARE_FIELD, ControlMessage)
    ZELMSG_DECLARE_TR
};

} // namespace zelmsg
