#include "xmlform.h"

#include <zel/host/recordexceptions.h>

namespace zelmsg {
namespace detail {

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

} // namespace detail
} // namespace zelmsg
