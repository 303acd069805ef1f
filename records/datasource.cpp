#include "recorddefinition.h"

#include <zel/zelmsg/datasource.h>

// The field table: name, tag in the binary form, and whether the field is always written.
#define ZELMSG_DATASOURCE_FIELDS(F, R)                                                                                 \
    F(R, Enum, Protocol, 0x2AD8184C, Optional)                                                                         \
    F(R, String, Address, 0x4EEF30B0, Optional)                                                                        \
    F(R, Enum, ByteOrder, 0xC69D142B, Optional)                                                                        \
    F(R, StringList, Filter, 0x093E3F50, Optional)

namespace zelmsg {

ZELMSG_DEFINE_RECORD(DataSource, ZELMSG_DATASOURCE_FIELDS)
ZELMSG_DEFINE_TR(DataSource)

// Every source may stand in a list, configured or not.
bool DataSource::HasData() const { return true; }

QStringList const& DataSource::GetProtocols()
{
    static QStringList const names { QStringLiteral("SUB"), QStringLiteral("TCP"), QStringLiteral("TCP_CLIENT"),
        QStringLiteral("UDP") };
    return names;
}

QStringList const& DataSource::GetByteOrders()
{
    static QStringList const names { QStringLiteral("Host"), QStringLiteral("Network") };
    return names;
}

} // namespace zelmsg
