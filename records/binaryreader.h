#pragma once

#include <QByteArray>
#include <QString>

class QBitArray;
class QDataStream;

namespace zelmsg {
namespace detail {

// Reads the primitives of the binary forms. Every read is held against the bytes the device still has, so
// a length or count from hostile input fails with BinaryParsingException before anything is allocated.
class BinaryReader
{
public:
    BinaryReader(QDataStream& stream, QString const& recordName, char const* operation);

    QDataStream& stream() const { return m_stream; }
    bool atEnd() const;

    qint32 readInt();
    quint32 readTag() { return static_cast<quint32>(readInt()); }
    qint8 readByte();
    bool readBool();
    QByteArray readBytes();
    QString readString();
    // A list's element count, refused when that many elements of at least `minItemBytes` cannot follow.
    int readCount(int minItemBytes);
    void readPresence(QBitArray& bits);

    [[noreturn]] void fail() const;

private:
    template <class T> T read();
    void need(qint64 bytes) const;
    // The 32-bit count in front of a byte array or string; false for the null form.
    bool readSize(quint32& size);

    QDataStream& m_stream;
    QString const& m_recordName;
    char const* m_operation;
};

} // namespace detail
} // namespace zelmsg
