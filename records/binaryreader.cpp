#include "binaryreader.h"

#include <zel/host/recordexceptions.h>

#include <QBitArray>
#include <QDataStream>
#include <QtEndian>

#include <limits>

namespace zelmsg {
namespace detail {

namespace {

constexpr quint32 nullSize = 0xFFFFFFFF;

} // namespace

BinaryReader::BinaryReader(QDataStream& stream, QString const& recordName, char const* operation)
    : m_stream(stream)
    , m_recordName(recordName)
    , m_operation(operation)
{ }

bool BinaryReader::atEnd() const { return m_stream.atEnd(); }

template <class T> T BinaryReader::read()
{
    need(sizeof(T));
    T value = 0;
    m_stream >> value;
    return value;
}

qint32 BinaryReader::readInt() { return read<qint32>(); }

qint8 BinaryReader::readByte() { return read<qint8>(); }

bool BinaryReader::readBool() { return readByte() != 0; }

QByteArray BinaryReader::readBytes()
{
    quint32 size = 0;
    if (!readSize(size))
        return QByteArray();
    QByteArray bytes(static_cast<int>(size), Qt::Uninitialized);
    m_stream.readRawData(bytes.data(), bytes.size());
    return bytes;
}

QString BinaryReader::readString()
{
    quint32 size = 0;
    if (!readSize(size))
        return QString();
    // QDataStream's form of a string: UTF-16 units in the stream's byte order.
    if (size % 2 != 0)
        fail();
    QString text(static_cast<int>(size / 2), Qt::Uninitialized);
    m_stream.readRawData(reinterpret_cast<char*>(text.data()), static_cast<int>(size));
    if (m_stream.byteOrder() == QDataStream::BigEndian)
        qFromBigEndian<quint16>(text.constData(), text.size(), text.data());
    else
        qFromLittleEndian<quint16>(text.constData(), text.size(), text.data());
    return text;
}

int BinaryReader::readCount(int minItemBytes)
{
    qint32 const count = readInt();
    if (count < 0 || count > m_stream.device()->bytesAvailable() / minItemBytes)
        fail();
    return count;
}

void BinaryReader::readPresence(QBitArray& bits)
{
    QByteArray const bytes = [this, &bits] {
        int const size = (bits.size() + 7) / 8;
        need(size);
        QByteArray raw(size, Qt::Uninitialized);
        m_stream.readRawData(raw.data(), size);
        return raw;
    }();
    for (int bit = 0; bit < bits.size(); ++bit)
        bits.setBit(bit, (static_cast<quint8>(bytes.at(bit / 8)) >> (bit % 8)) & 1);
}

void BinaryReader::fail() const
{
    throw RECORDMODEL::BinaryParsingException(
        QStringLiteral("%1::%2(...): Length error occurred during processing of binary representation")
            .arg(m_recordName, QLatin1String(m_operation)));
}

void BinaryReader::need(qint64 bytes) const
{
    QIODevice const* device = m_stream.device();
    if (!device || device->bytesAvailable() < bytes)
        fail();
}

bool BinaryReader::readSize(quint32& size)
{
    size = static_cast<quint32>(readInt());
    if (size == nullSize)
        return false;
    if (size > static_cast<quint32>(std::numeric_limits<int>::max()))
        fail();
    need(size);
    return true;
}

} // namespace detail
} // namespace zelmsg
