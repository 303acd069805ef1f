#include <zel/decodecontrolrecord.h>

namespace zel {

zelmsg::ControlMessage decodeControlRecord(zel::ControlMessage const& envelope)
{
    zelmsg::ControlMessage record;
    // A false result needs no handling: the caller finds an unusable record by its message type.
    record.SetXmlString(QString::fromUtf8(envelope.payload), false);
    return record;
}

} // namespace zel
