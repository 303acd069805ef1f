#pragma once

// The binary forms of the zelmsg records. Tagged: each written field as tag, length and value, so that a reader
// skips what it does not know. Positional: the presence bits, then the values of the present fields in field
// order, without tags. BinaryReader reads the primitives of both; LengthSlot writes the tagged lengths.

#include "binaryreader.h"
#include "lengthslot.h"
#include "recordrules.h"

#include <QDataStream>

namespace zelmsg {
namespace detail {

// UTF-8 from a byte array's data and size: a null array gives an empty, non-null string.
QString fromUtf8(QByteArray const& bytes);
void writePresence(QDataStream& stream, QBitArray const& bits);
void writeTaggedStrings(QDataStream& stream, QVector<QString> const& values);
void writeStrings(QDataStream& stream, QVector<QString> const& values);

template <class R> struct BinaryForm
{
    using Data = typename R::Data;
    using Rules = RecordRules<R>;

    // Tagged binary form.

    static bool getBinary(R const& r, QDataStream& stream, int tag, bool writeId)
    {
        Data& d = Rules::prepareWrite(r);
        if (writeId)
            stream << qint32(tag);
        LengthSlot body(stream);
        Rules::forWrittenFields(d, [&](FieldInfo const& f, auto& value) { writeTagged(stream, f, value); });
        body.close();
        return true;
    }

    static void setBinary(R& r, QDataStream& stream, int length)
    {
        Rules::alignNested(r);
        BinaryReader in(stream, r.GetObjectName(), "SetBinary");
        qint64 remaining = length;
        while (remaining > 0 && !in.atEnd()) {
            quint32 const tag = in.readTag();
            qint32 const fieldLength = in.readInt();
            remaining -= 8 + qint64(fieldLength);
            readTaggedField(r, in, tag, fieldLength);
        }
        if (remaining != 0)
            in.fail();
    }

    // Positional binary form.

    static void writePositional(R const& r, QDataStream& stream)
    {
        Rules::initData(r);
        Data& d = Rules::data(r);
        writePresence(stream, d.bits);
        Data::visit([&](FieldInfo const& f, auto m) {
            if (f.required || d.bits.testBit(f.bit))
                writePositionalValue(stream, d.*m);
        });
    }

    static void readPositional(R& r, QDataStream& stream)
    {
        Rules::initData(r);
        BinaryReader in(stream, r.GetObjectName(), "SetVersionSpecificBinaryWithoutValidation");
        in.readPresence(Rules::data(r).bits);
        Data::visit([&](FieldInfo const& f, auto m) {
            if (f.required || Rules::data(r).bits.testBit(f.bit))
                readPositionalValue(r, in, f, m);
        });
    }

private:
    template <class T> static void writeTagged(QDataStream& stream, FieldInfo const& f, T& value)
    {
        constexpr Kind kind = kindOf<T>();
        if constexpr (kind == Kind::Record) {
            // The field head doubles as the nested record's tag and length.
            value.GetBinary(stream, static_cast<qint32>(f.tag), true);
            return;
        } else {
            stream << static_cast<qint32>(f.tag);
            LengthSlot slot(stream);
            if constexpr (kind == Kind::String)
                stream << value.toUtf8();
            else if constexpr (kind == Kind::Enum)
                stream << enumName(f.names(), value).toUtf8();
            else if constexpr (kind == Kind::Bool)
                stream << value;
            else if constexpr (kind == Kind::StringList)
                writeTaggedStrings(stream, value);
            else
                writeTaggedRecords(stream, f, value);
            slot.close();
        }
    }

    template <class T> static void writeTaggedRecords(QDataStream& stream, FieldInfo const& f, QVector<T>& items)
    {
        stream << qint32(items.size());
        for (T& item : items)
            item.GetBinary(stream, static_cast<qint32>(f.tag), false);
    }

    static void readTaggedField(R& r, BinaryReader& in, quint32 tag, qint32 fieldLength)
    {
        bool const known = Rules::readField([tag](FieldInfo const& f) { return f.tag == tag; },
            [&](FieldInfo const& f, auto m) { readTaggedValue(r, in, f, m, fieldLength); });
        if (!known)
            r.skipCurrentElement(in.stream(), fieldLength, static_cast<qint32>(tag));
    }

    template <class T>
    static void readTaggedValue(R& r, BinaryReader& in, FieldInfo const& f, T Data::*m, qint32 fieldLength)
    {
        constexpr Kind kind = kindOf<T>();
        if constexpr (kind == Kind::String) {
            Rules::assign(r, f, m, fromUtf8(in.readBytes()));
        } else if constexpr (kind == Kind::Enum) {
            Rules::assign(r, f, m, static_cast<T>(f.names().indexOf(fromUtf8(in.readBytes()))));
        } else if constexpr (kind == Kind::Bool) {
            Rules::assign(r, f, m, in.readBool());
        } else if constexpr (kind == Kind::Record) {
            (Rules::data(r).*m).SetBinary(in.stream(), fieldLength);
            Rules::data(r).bits.setBit(f.bit);
        } else if constexpr (kind == Kind::StringList) {
            Rules::appendEach(r, f, m, in.readCount(8), [&](QString& item) {
                in.readInt(); // the element's length says nothing the byte array does not
                item = fromUtf8(in.readBytes());
            });
        } else {
            Rules::appendEach(r, f, m, in.readCount(4), [&](auto& item) {
                qint32 const length = in.readInt();
                item.SetBinary(in.stream(), length);
            });
        }
    }

    template <class T> static void writePositionalValue(QDataStream& stream, T& value)
    {
        constexpr Kind kind = kindOf<T>();
        if constexpr (kind == Kind::Enum) {
            stream << qint8(value);
        } else if constexpr (kind == Kind::StringList) {
            writeStrings(stream, value);
        } else if constexpr (kind == Kind::RecordList) {
            stream << qint32(value.size());
            for (auto& item : value)
                item.GetVersionSpecificBinaryWithoutValidation(stream);
        } else if constexpr (kind == Kind::Record) {
            value.GetVersionSpecificBinaryWithoutValidation(stream);
        } else {
            stream << value;
        }
    }

    // Single values are stored as read, without their setters; list items still go through AppendX.
    template <class T> static void readPositionalValue(R& r, BinaryReader& in, FieldInfo const& f, T Data::*m)
    {
        constexpr Kind kind = kindOf<T>();
        if constexpr (kind == Kind::String) {
            Rules::data(r).*m = in.readString();
        } else if constexpr (kind == Kind::Enum) {
            Rules::data(r).*m = static_cast<T>(in.readByte());
        } else if constexpr (kind == Kind::Bool) {
            Rules::data(r).*m = in.readBool();
        } else if constexpr (kind == Kind::Record) {
            (Rules::data(r).*m).SetVersionSpecificBinaryWithoutValidation(in.stream());
        } else if constexpr (kind == Kind::StringList) {
            Rules::appendEach(r, f, m, in.readCount(4), [&](QString& item) { item = in.readString(); });
        } else {
            Rules::appendEach(r, f, m, in.readCount(1),
                [&](auto& item) { item.SetVersionSpecificBinaryWithoutValidation(in.stream()); });
        }
    }
};

} // namespace detail
} // namespace zelmsg
