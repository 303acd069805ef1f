#include "sequence.h"

#include <QtEndian>

namespace demo {

QByteArray makeSequencedData(std::uint64_t sequence, int size)
{
    QByteArray data(size, Qt::Uninitialized);
    qToBigEndian(static_cast<quint64>(sequence), data.data());
    for (int i = sequenceSize; i < size; ++i)
        data[i] = static_cast<char>('a' + i % 26);
    return data;
}

std::optional<std::uint64_t> readSequence(QByteArray const& data)
{
    if (data.size() < sequenceSize)
        return std::nullopt;
    return qFromBigEndian<quint64>(data.constData());
}

} // namespace demo
