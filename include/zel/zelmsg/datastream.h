#pragma once

#include <zel/zelmsg/recordfields.h>

#define ZELMSG_DATASTREAM_FIELDS(F, R)                                                                                 \
    F(R, String, Name, 0x8C9FBCA8, Required)                                                                           \
    F(R, Enum, Protocol, 0x2AD8184C, Optional)                                                                         \
    F(R, StringList, Address, 0x4EEF30B0, Optional)                                                                    \
    F(R, Bool, Running, 0x40C01313, Optional)

namespace zelmsg {

// One output stream of a processor.
class ZEL_EXPORT DataStream : public RECORDMODEL::IRMObject
{
public:
    enum Protocol : qint8 { Pub };

    static constexpr qint64 id = 0xC3AA87AB;

    ZELMSG_RECORD_MEMBERS(DataStream)
    ZELMSG_DATASTREAM_FIELDS(ZELMSG_DECLARE_FIELD, DataStream)
    ZELMSG_DECLARE_TR
};

} // namespace zelmsg
