#include "recordengine.h"

#include <QObject>

#include <algorithm>

namespace zelmsg {
namespace detail {

namespace {

// The field as the error texts name it.
QString fieldLabel(FieldInfo const& field) { return QString::fromLatin1(field.name); }

// The member behind a field as its record's messages name it: MessageType is m_messageType.
QString memberName(FieldInfo const& field)
{
    QString name = fieldLabel(field);
    name[0] = name.at(0).toLower();
    return QStringLiteral("m_") + name;
}

} // namespace

QString enumName(QStringList const& names, int value)
{
    return value >= 0 && value < names.size() ? names.at(value) : QString();
}

QStringList translated(QStringList const& names)
{
    QStringList result;
    result.reserve(names.size());
    for (QString const& name : names)
        result.append(QObject::tr(name.toUtf8().constData()));
    return result;
}

bool noneNull(QVector<QString> const& values)
{
    return std::none_of(values.cbegin(), values.cend(), [](QString const& value) { return value.isNull(); });
}

QString fromUtf8(QByteArray const& bytes) { return QString::fromUtf8(bytes.constData(), bytes.size()); }

bool readXmlBool(QString const& text, bool validate, QString const& record, FieldInfo const& field)
{
    if (text.isEmpty() && validate)
        throw RECORDMODEL::InvalidXmlException(
            QStringLiteral("Please set a value or a default for the boolean '%1' in '%2'.")
                .arg(fieldLabel(field), record));
    QString const lower = text.toLower();
    return !lower.isEmpty() && lower != QLatin1String("0") && lower != QLatin1String("false");
}

void writeXmlText(QXmlStreamWriter& writer, QString const& name, QString const& text)
{
    if (!text.contains(QLatin1Char('\r')))
        return writer.writeTextElement(name, text);
    // A reader turns a literal CR into LF; as a character reference it stays a CR.
    writer.writeStartElement(name);
    QStringList const pieces = text.split(QLatin1Char('\r'));
    for (int i = 0; i < pieces.size(); ++i) {
        if (i > 0)
            writer.writeEntityReference(QStringLiteral("#13"));
        writer.writeCharacters(pieces.at(i));
    }
    writer.writeEndElement();
}

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

void throwSetter(QString const& record, FieldInfo const& field)
{
    throw RECORDMODEL::OutOfRangeException(
        QStringLiteral("%1: Please set %2 properly (origin: Setter).").arg(record, fieldLabel(field)));
}

void throwEnum(QString const& record, FieldInfo const& field)
{
    throw RECORDMODEL::OutOfRangeException(
        QStringLiteral("enum is not valid (classname=%1,membername=%2)").arg(record, memberName(field)));
}

void throwAppend(QString const& record, FieldInfo const& field)
{
    throw RECORDMODEL::IncompleteDefinitionException(
        QStringLiteral("%1: Tried to append not completely defined or invalid item %2.")
            .arg(record, fieldLabel(field)));
}

void throwCheck(QString const& record, FieldInfo const& field)
{
    throw RECORDMODEL::OutOfRangeException(
        QStringLiteral("%1: Please set %2 properly.").arg(record, fieldLabel(field)));
}

} // namespace detail
} // namespace zelmsg
