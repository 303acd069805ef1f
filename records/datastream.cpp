#include "recordengine.h"

#include <zel/zelmsg/datastream.h>

namespace zelmsg {

ZELMSG_DEFINE_RECORD(DataStream, ZELMSG_DATASTREAM_FIELDS)
ZELMSG_DEFINE_TR(DataStream)

// A stream is known by its name; an empty name is a name.
bool DataStream::HasData() const { return d.constData() && !d.constData()->f_Name.isNull(); }

QStringList const& DataStream::GetProtocols()
{
    static QStringList const names { QStringLiteral("PUB") };
    return names;
}

} // namespace zelmsg
