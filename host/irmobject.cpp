#include <zel/host/irmobject.h>
#include <zel/host/logger.h>
#include <zel/host/recordexceptions.h>

#include <QDataStream>
#include <QDateTime>
#include <QFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <cmath>
#include <limits>

namespace RECORDMODEL {

namespace {

// Sets the validate flag for one read and restores it after, also when the read throws.
class ValidateScope
{
public:
    ValidateScope(IRMObject const& object, bool validate)
        : m_object(object)
        , m_previous(object.GetValidate())
    {
        m_object.SetValidate(validate);
    }
    ~ValidateScope() { m_object.SetValidate(m_previous); }
    ValidateScope(ValidateScope const&) = delete;
    ValidateScope& operator=(ValidateScope const&) = delete;

private:
    IRMObject const& m_object;
    bool m_previous;
};

} // namespace

IRMObject::IRMObject()
    : IRMObject(ObjectTypes::Record)
{ }

IRMObject::IRMObject(ObjectTypes type)
    : m_objectType(type)
{ }

IRMObject::~IRMObject() = default;

bool IRMObject::IsValid(float const& value) const { return !std::isnan(value); }
bool IRMObject::IsValid(bool const&) const { return true; }
bool IRMObject::IsValid(unsigned int const& value) const { return value != std::numeric_limits<unsigned int>::max(); }
bool IRMObject::IsValid(qint64 const& value) const { return value != std::numeric_limits<qint64>::min(); }
bool IRMObject::IsValid(QDateTime const& value) const { return value.isValid(); }
bool IRMObject::IsValid(QString const& value) const { return !value.isNull(); }
bool IRMObject::IsValid(double const& value) const { return !std::isnan(value); }
bool IRMObject::IsValid(int const& value) const { return value != std::numeric_limits<int>::min(); }

void IRMObject::SetInvalid(float& value) const { value = std::numeric_limits<float>::quiet_NaN(); }
void IRMObject::SetInvalid(unsigned int& value) const { value = std::numeric_limits<unsigned int>::max(); }
void IRMObject::SetInvalid(qint64& value) const { value = std::numeric_limits<qint64>::min(); }
void IRMObject::SetInvalid(QString& value) const { value = QString(); }
void IRMObject::SetInvalid(double& value) const { value = std::numeric_limits<double>::quiet_NaN(); }
void IRMObject::SetInvalid(int& value) const { value = std::numeric_limits<int>::min(); }

bool IRMObject::SetXmlString(QString const& xml, bool validate)
{
    ValidateScope scope(*this, validate);
    QXmlStreamReader reader(xml);
    if (!reader.readNextStartElement())
        return FailXml(reader, QStringLiteral("no root element"));
    if (reader.name() != GetObjectName())
        return FailXml(
            reader, QStringLiteral("root element %1 is not %2").arg(reader.name().toString(), GetObjectName()));
    ProcessXml(reader);
    // The rest of the document must be well-formed too.
    while (!reader.atEnd())
        reader.readNext();
    if (reader.hasError())
        return FailXml(reader, reader.errorString());
    return true;
}

void IRMObject::SetBinaryRepresentation(QByteArray const& bytes)
{
    QDataStream stream(bytes);
    SetBinaryRepresentation(stream);
}

void IRMObject::SetBinaryRepresentation(QDataStream& stream)
{
    QIODevice const* device = stream.device();
    qint32 tag = 0;
    qint32 length = 0;
    if (device && device->bytesAvailable() >= 8)
        stream >> tag >> length;
    if (tag != static_cast<qint32>(m_recordId))
        throw BinaryParsingException(
            GetObjectName() + QStringLiteral("::SetBinaryRepresentation(...): Record tag missing or wrong"));
    SetBinary(stream, length);
}

bool IRMObject::MergeRMObject(IRMObject const& other)
{
    if (other.GetObjectName() != GetObjectName())
        return false;
    SetBinaryRepresentation(other.GetBinaryRepresentationAsQByteArray());
    return true;
}

ObjectTypes IRMObject::GetObjectType() const { return m_objectType; }

QString const& IRMObject::GetObjectName() const { return m_objectName; }

void IRMObject::ProcessXml(QXmlStreamReader& reader)
{
    while (reader.readNextStartElement())
        ProcessXmlStartElement(reader);
}

QString IRMObject::GetXmlString() const
{
    QString text;
    QXmlStreamWriter writer(&text);
    GetXml(writer);
    return text;
}

void IRMObject::GetBinaryRepresentation(QDataStream& stream) const
{
    GetBinary(stream, static_cast<qint32>(m_recordId), true);
}

QByteArray IRMObject::GetBinaryRepresentationAsQByteArray() const
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    GetBinaryRepresentation(stream);
    return bytes;
}

void IRMObject::GetCompressedBinaryRepresentation(QDataStream& stream) const
{
    stream << GetCompressedBinaryRepresentationAsQByteArray();
}

QByteArray IRMObject::GetCompressedBinaryRepresentationAsQByteArray() const
{
    return qCompress(GetBinaryRepresentationAsQByteArray());
}

bool IRMObject::LoadXml(QString const& fileName)
{
    QFile file(fileName);
    return LoadXml(file);
}

bool IRMObject::LoadXml(QFile& file)
{
    if (!file.isOpen() && !file.open(QIODevice::ReadOnly))
        return false;
    return SetXmlString(QString::fromUtf8(file.readAll()), GetValidate());
}

bool IRMObject::LoadBinary(QString const& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QDataStream stream(&file);
    SetBinaryRepresentation(stream);
    return true;
}

bool IRMObject::SaveXml(QString const& fileName) const
{
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    QXmlStreamWriter writer(&file);
    writer.setAutoFormatting(true);
    writer.writeStartDocument();
    GetXml(writer);
    writer.writeEndDocument();
    return !writer.hasError();
}

void IRMObject::SetValidate(bool validate) const { m_validate = validate; }

bool IRMObject::GetValidate() const { return m_validate; }

void IRMObject::SetLogger(std::shared_ptr<Logger> logger) const { m_logger = std::move(logger); }

void IRMObject::ResetLogger() const { SetLogger(nullptr); }

int IRMObject::GetVersion() const { return 1; }

void IRMObject::SetObjectType(ObjectTypes type) { m_objectType = type; }

std::shared_ptr<Logger> IRMObject::GetLogger() const { return m_logger; }

void IRMObject::SetObjectName(QString const& name) { m_objectName = name; }

QString IRMObject::GetTextValue(QXmlStreamReader& reader) const
{
    QString const text = reader.readElementText(QXmlStreamReader::SkipChildElements);
    // Empty, not null: an empty list entry that was written reads back as one.
    return nonNullText(text);
}

int IRMObject::skipCurrentElement(QDataStream& stream, int length, int tag) const
{
    if (m_logger)
        m_logger->Log(QStringLiteral("%1: skipped unknown field %2 of %3 bytes")
                          .arg(GetObjectName())
                          .arg(static_cast<quint32>(tag), 8, 16, QLatin1Char('0'))
                          .arg(length));
    return length > 0 ? stream.skipRawData(length) : 0;
}

bool IRMObject::FailXml(QXmlStreamReader const& reader, QString const& problem) const
{
    if (m_logger)
        m_logger->Log(QStringLiteral("%1: cannot read XML at line %2, column %3: %4")
                          .arg(GetObjectName())
                          .arg(reader.lineNumber())
                          .arg(reader.columnNumber())
                          .arg(problem));
    return false;
}

} // namespace RECORDMODEL
