#include "sequence.h"

#include <QtEndian>

namespace demo {

QByteArray makePattern(int size)
{
    QByteArray pattern(size, '\0');
    for (int i = sequenceSize; i < size; ++i)
        pattern[i] = static_cast<char>('a' + i % 26);
    return pattern;
}

QByteArray makeSequencedData(QByteArray const& pattern, std::uint64_t sequence)
{
    QByteArray data(pattern.constData(), pattern.size());
    qToBigEndian(static_cast<quint64>(sequence), data.data());
    return data;
}

std::optional<std::uint64_t> readSequence(QByteArray const& data)
{
    if (data.size() < sequenceSize)
        return std::nullopt;
    return qFromBigEndian<quint64>(data.constData());
}

} // namespace demo
