#pragma once

#include <zel/zelmsg/recordfields.h>

#define ZELMSG_DATASOURCE_FIELDS(F, R)                                                                                 \
    F(R, Enum, Protocol, 0x2AD8184C, Optional)                                                                         \
    F(R, String, Address, 0x4EEF30B0, Optional)                                                                        \
    F(R, Enum, ByteOrder, 0xC69D142B, Optional)                                                                        \
    F(R, StringList, Filter, 0x093E3F50, Optional)

namespace zelmsg {

// One input of a processor.
class ZEL_EXPORT DataSource : public RECORDMODEL::IRMObject
{
public:
    enum Protocol : qint8 { Sub, Tcp, TcpClient, Udp };
    enum ByteOrder : qint8 { Host, Network };

    static constexpr qint64 id = 0x27EB9316;

    ZELMSG_RECORD_MEMBERS(DataSource)
    ZELMSG_DATASOURCE_FIELDS(ZELMSG_DECLARE_FIELD, DataSource)
    ZELMSG_DECLARE_TR
};

} // namespace zelmsg
