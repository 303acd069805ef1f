#include "recordengine.h"

#include <zel/zelmsg/datasource.h>

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
