#include "fuzztargets.h"

#include <zel/host/recordexceptions.h>
#include <zel/zelmsg/controlmessage.h>

#include <QDataStream>

namespace zelfuzz {

namespace {

template <class R> QByteArray write(R const& record, bool positional)
{
    if (!positional)
        return record.GetBinaryRepresentationAsQByteArray();
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    record.GetVersionSpecificBinaryWithoutValidation(stream);
    return bytes;
}

template <class R> void read(R& record, QByteArray const& bytes, bool positional)
{
    if (!positional)
        return record.SetBinaryRepresentation(bytes);
    QDataStream stream(bytes);
    record.SetVersionSpecificBinaryWithoutValidation(stream);
}

template <class R> void roundTrip(QByteArray const& bytes, bool positional, bool validate)
{
    R first;
    first.SetValidate(validate);
    try {
        read(first, bytes, positional);
    } catch (RECORDMODEL::RecordException const&) {
        // What was read before the error stays, and must write out like any record.
    }
    first.SetValidate(false);
    QByteArray const written = write(first, positional);

    R second;
    read(second, written, positional);
    QByteArray const rewritten = write(second, positional);
    if (positional) {
        // The positional form keeps every value and presence bit as it is.
        expect(rewritten == written, "positional form differs after a round trip");
        expect(second == first, "positional form reads back a different record");
        return;
    }
    // The tagged form writes an unset Name or MessageType empty, and it reads back set; a set but empty list
    // leaves no trace. The XML form says the same of both records, and the bytes settle after one pass.
    expect(second.GetXmlString() == first.GetXmlString(), "tagged form reads back a different record");
    R third;
    read(third, rewritten, false);
    expect(write(third, false) == rewritten, "tagged form differs after a second round trip");
}

} // namespace

void recordBinary(std::uint8_t const* data, std::size_t size)
{
    if (size == 0)
        return;
    QByteArray const bytes(reinterpret_cast<char const*>(data + 1), static_cast<int>(size - 1));
    bool const positional = data[0] & 4;
    bool const validate = data[0] & 8;
    switch (data[0] & 3) {
    case 0:
        return roundTrip<zelmsg::ControlMessage>(bytes, positional, validate);
    case 1:
        return roundTrip<zelmsg::Processor>(bytes, positional, validate);
    case 2:
        return roundTrip<zelmsg::DataSource>(bytes, positional, validate);
    default:
        return roundTrip<zelmsg::DataStream>(bytes, positional, validate);
    }
}

} // namespace zelfuzz
