#include "recordrules.h"

#include <zel/host/recordexceptions.h>

#include <QObject>

#include <algorithm>

namespace zelmsg {
namespace detail {

namespace {

// The member behind a field as its record's messages name it: MessageType is m_messageType.
QString memberName(FieldInfo const& field)
{
    QString name = fieldLabel(field);
    name[0] = name.at(0).toLower();
    return QStringLiteral("m_") + name;
}

} // namespace

QString fieldLabel(FieldInfo const& field) { return QString::fromLatin1(field.name); }

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
