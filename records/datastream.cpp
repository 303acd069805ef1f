#include "recorddefinition.h"

#include <zel/zelmsg/datastream.h>

// The field table: name, tag in the binary form, and whether the field is always written.
#define ZELMSG_DATASTREAM_FIELDS(F, R)                                                                                 \
    F(R, String, Name, 0x8C9FBCA8, Required)                                                                           \
    F(R, Enum, Protocol, 0x2AD8184C, Optional)                                                                         \
    F(R, StringList, Address, 0x4EEF30B0, Optional)                                                                    \
    F(R, Bool, Running, 0x40C01313, Optional)

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
