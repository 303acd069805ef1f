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

void writeSequence(QByteArray& data, std::uint64_t sequence)
{
    qToBigEndian(static_cast<quint64>(sequence), data.data());
}

std::optional<std::uint64_t> readSequence(QByteArray const& data)
{
    if (data.size() < sequenceSize)
        return std::nullopt;
    return qFromBigEndian<quint64>(data.constData());
}

} // namespace demo
