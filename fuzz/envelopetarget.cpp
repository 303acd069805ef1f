#include "fuzztargets.h"

#include <zel/controlmessage.h>
#include <zel/decodecontrolrecord.h>

namespace zelfuzz {

void envelope(std::uint8_t const* data, std::size_t size)
{
    zel::ControlMessage received { QByteArrayLiteral("peer"),
        QByteArray(reinterpret_cast<char const*>(data), static_cast<int>(size)) };
    // Services decode every payload with validation off and must not be ended by one: no catch here.
    zelmsg::ControlMessage const record = zel::decodeControlRecord(received);
    expect(record.HasData() || record.GetMessageType() == -1, "a record without data has a message type");

    // The reply envelope as the handlers make it, decoded by the requester.
    zel::ControlMessage const reply { received.address, record.GetXmlString().toUtf8() };
    zelmsg::ControlMessage const answer = zel::decodeControlRecord(reply);
    expect(answer.GetXmlString().toUtf8() == reply.payload, "payload differs after a decode and encode");
}

} // namespace zelfuzz
