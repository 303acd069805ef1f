#include "fuzztargets.h"

#include <zel/host/recordexceptions.h>
#include <zel/zelmsg/controlmessage.h>

namespace zelfuzz {

void controlXml(std::uint8_t const* data, std::size_t size)
{
    zelmsg::ControlMessage first;
    try {
        first.SetXmlString(utf8(data, size), false);
    } catch (RECORDMODEL::RecordException const&) {
        // What was read before the error stays, and must write out like any record.
    }
    QString const written = first.GetXmlString();

    zelmsg::ControlMessage second;
    expect(second.SetXmlString(written, false), "the record's own XML does not read back");
    expect(second.GetXmlString() == written, "XML differs after a round trip");

    // The tagged binary form carries what the XML form carries.
    zelmsg::ControlMessage third;
    third.SetBinaryRepresentation(second.GetBinaryRepresentationAsQByteArray());
    expect(third == second, "tagged form of an XML record reads back different");
    expect(third.GetXmlString() == written, "XML differs after a binary round trip");
}

} // namespace zelfuzz
