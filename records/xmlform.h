#pragma once

// The XML form of the zelmsg records: one element per record, named after it, with one child element per
// written field, in field order.

#include "recordrules.h"

#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace zelmsg {
namespace detail {

bool readXmlBool(QString const& text, bool validate, QString const& record, FieldInfo const& field);
// One text element that reads back as exactly `text`.
void writeXmlText(QXmlStreamWriter& writer, QString const& name, QString const& text);

template <class R> struct XmlForm
{
    using Data = typename R::Data;
    using Rules = RecordRules<R>;

    static bool getXml(R const& r, QXmlStreamWriter& writer)
    {
        Data& d = Rules::prepareWrite(r);
        writer.writeStartElement(r.GetObjectName());
        Rules::forWrittenFields(d, [&](FieldInfo const& f, auto& value) { writeXml(writer, f, value); });
        writer.writeEndElement();
        return true;
    }

    // Nested records are already in line here (from InitData, and from SetValidate when a read begins); aligning
    // them again for every child would make reading a long list quadratic.
    static void processStartElement(R& r, QXmlStreamReader& reader)
    {
        QStringRef const name = reader.name();
        Rules::initData(r);
        bool const known = Rules::readField([&](FieldInfo const& f) { return name == elementName(f); },
            [&](FieldInfo const& f, auto m) { readXml(r, f, m, reader); });
        if (!known)
            reader.skipCurrentElement();
    }

private:
    // The XML element name of a field, built once per record type.
    static QString const& elementName(FieldInfo const& f)
    {
        static QVector<QString> const names = [] {
            QVector<QString> all(Data::bitCount);
            Data::visit([&](FieldInfo const& field, auto) { all[field.bit] = QString::fromLatin1(field.name); });
            return all;
        }();
        return names.at(f.bit);
    }

    template <class T> static void writeXml(QXmlStreamWriter& writer, FieldInfo const& f, T& value)
    {
        constexpr Kind kind = kindOf<T>();
        QString const& name = elementName(f);
        if constexpr (kind == Kind::String)
            writeXmlText(writer, name, value);
        else if constexpr (kind == Kind::Enum)
            writer.writeTextElement(name, enumName(f.names(), value));
        else if constexpr (kind == Kind::Bool)
            writer.writeTextElement(name, value ? QStringLiteral("true") : QStringLiteral("false"));
        else if constexpr (kind == Kind::StringList)
            for (QString const& entry : qAsConst(value))
                writeXmlText(writer, name, entry);
        else if constexpr (kind == Kind::RecordList)
            for (auto& item : value)
                item.GetXml(writer);
        else
            value.GetXml(writer);
    }

    template <class T> static void readXml(R& r, FieldInfo const& f, T Data::*m, QXmlStreamReader& reader)
    {
        constexpr Kind kind = kindOf<T>();
        if constexpr (kind == Kind::String) {
            Rules::assign(r, f, m, RECORDMODEL::nonNullText(r.GetTextValue(reader)));
        } else if constexpr (kind == Kind::Enum) {
            Rules::assign(r, f, m, static_cast<T>(f.names().indexOf(r.GetTextValue(reader))));
        } else if constexpr (kind == Kind::Bool) {
            Rules::assign(r, f, m, readXmlBool(r.GetTextValue(reader), r.GetValidate(), r.GetObjectName(), f));
        } else if constexpr (kind == Kind::StringList) {
            Rules::append(r, f, m, r.GetTextValue(reader));
        } else if constexpr (kind == Kind::RecordList) {
            Rules::appendNew(r, f, m, [&](auto& item) { item.ProcessXml(reader); });
        } else {
            (Rules::data(r).*m).ProcessXml(reader);
            Rules::data(r).bits.setBit(f.bit);
        }
    }
};

} // namespace detail
} // namespace zelmsg
