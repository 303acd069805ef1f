#include "binaryform.h"

namespace zelmsg {
namespace detail {

QString fromUtf8(QByteArray const& bytes) { return QString::fromUtf8(bytes.constData(), bytes.size()); }

void writePresence(QDataStream& stream, QBitArray const& bits)
{
    QByteArray bytes((bits.size() + 7) / 8, '\0');
    for (int bit = 0; bit < bits.size(); ++bit)
        if (bits.testBit(bit))
            bytes[bit / 8] = static_cast<char>(bytes.at(bit / 8) | (1 << (bit % 8)));
    stream.writeRawData(bytes.constData(), bytes.size());
}

void writeTaggedStrings(QDataStream& stream, QVector<QString> const& values)
{
    stream << qint32(values.size());
    for (QString const& value : values) {
        QByteArray const bytes = value.toUtf8();
        // Each element's length covers its byte array: the count word and the bytes.
        stream << qint32(4 + bytes.size()) << bytes;
    }
}

void writeStrings(QDataStream& stream, QVector<QString> const& values)
{
    stream << qint32(values.size());
    for (QString const& value : values)
        stream << value;
}

} // namespace detail
} // namespace zelmsg
