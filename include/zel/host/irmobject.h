#pragma once

#include <zel/host/zelhostframework_export.h>

#include <QString>
#include <QtGlobal>

#include <memory>

class QByteArray;
class QDataStream;
class QDateTime;
class QFile;
class QXmlStreamReader;
class QXmlStreamWriter;

namespace RECORDMODEL {

class Logger;

enum class ObjectTypes { Undefined, Record };

// The text, or for a null one an empty, non-null string: a string field holding it counts as set, where a null
// string is refused.
inline QString nonNullText(QString const& text = QString())
{
    return text.isNull() ? QString(QLatin1String("")) : text;
}

// Base of the records: name, id, validate flag and logger, and the representations built on the four
// operations each record brings (GetXml, ProcessXml, GetBinary, SetBinary).
//
// Binary representation: the record's id as a 32-bit tag, then the body length and the body, that is
// exactly what GetBinary(stream, id, true) writes. The compressed representation is qCompress of it.
//
// One thread at a time per record, reads included: const members may allocate the record's data and
// set the flag and logger of nested records. Copies are independent and may go to other threads.
class ZELHOSTFRAMEWORK_EXPORT IRMObject
{
public:
    IRMObject();
    explicit IRMObject(ObjectTypes type);

    virtual ~IRMObject();
    // Whether the record holds what it cannot do without; with validation on, a list refuses an
    // item that does not.
    virtual bool HasData() const = 0;
    // Every field unset.
    virtual void Reset() = 0;
    // OutOfRangeException for a mandatory field unset or a set value invalid, nested records
    // included whatever `deep` says.
    virtual void Check(bool deep) const = 0;
    virtual void Check() const = 0;
    // Each type's invalid value (null, NaN, its extreme) and the test for it.
    virtual bool IsValid(float const& value) const;
    virtual bool IsValid(bool const& value) const;
    virtual bool IsValid(unsigned int const& value) const;
    virtual bool IsValid(qint64 const& value) const;
    virtual bool IsValid(QDateTime const& value) const;
    virtual bool IsValid(QString const& value) const;
    virtual bool IsValid(double const& value) const;
    virtual bool IsValid(int const& value) const;
    virtual void SetInvalid(float& value) const;
    virtual void SetInvalid(unsigned int& value) const;
    virtual void SetInvalid(qint64& value) const;
    virtual void SetInvalid(QString& value) const;
    virtual void SetInvalid(double& value) const;
    virtual void SetInvalid(int& value) const;
    virtual bool GetXml(QXmlStreamWriter& writer) const = 0;
    // The tagged binary form: `tag` if writeId, then the body's length and the body. SetBinary reads
    // a body of `length` bytes; BinaryParsingException when the lengths inside do not add up.
    virtual bool GetBinary(QDataStream& stream, int tag, bool writeId) const = 0;
    virtual void SetBinary(QDataStream& stream, int length) = 0;
    // Reads a document whose root is this record, with the validate flag set to `validate` while reading.
    // Not well-formed text, or another root, gives false; what was read before stays.
    virtual bool SetXmlString(QString const& xml, bool validate);
    virtual void SetBinaryRepresentation(QByteArray const& bytes);
    virtual void SetBinaryRepresentation(QDataStream& stream);
    // Adds what `other` holds, as reading its binary representation would; false for another kind of record.
    virtual bool MergeRMObject(IRMObject const& other);
    virtual ObjectTypes GetObjectType() const;
    virtual QString const& GetObjectName() const;
    virtual void ProcessXml(QXmlStreamReader& reader);
    // Compact: no prolog, no indentation.
    virtual QString GetXmlString() const;
    virtual void GetBinaryRepresentation(QDataStream& stream) const;
    virtual QByteArray GetBinaryRepresentationAsQByteArray() const;
    virtual void GetCompressedBinaryRepresentation(QDataStream& stream) const;
    virtual QByteArray GetCompressedBinaryRepresentationAsQByteArray() const;
    virtual bool LoadXml(QString const& fileName);
    virtual bool LoadXml(QFile& file);
    virtual bool LoadBinary(QString const& fileName);
    virtual bool SaveXml(QString const& fileName) const;
    // With validation on, setters and appends refuse invalid values, and GetXml and GetBinary run
    // Check before they write. Nested records follow the flag.
    virtual void SetValidate(bool validate) const;
    virtual bool GetValidate() const;
    virtual void SetLogger(std::shared_ptr<Logger> logger) const;
    virtual void ResetLogger() const;
    virtual int GetVersion() const;
    virtual void SetObjectType(ObjectTypes type);

    std::shared_ptr<Logger> GetLogger() const;
    qint64 GetRecordId() const { return m_recordId; }

protected:
    IRMObject(IRMObject const&) = default;
    IRMObject& operator=(IRMObject const&) = default;

    virtual void SetObjectName(QString const& name);
    // Called by ProcessXml for each child start element; handles the child up to its end element.
    virtual void ProcessXmlStartElement(QXmlStreamReader& reader) = 0;

    void SetRecordId(qint64 id) { m_recordId = id; }
    // Text of the current element, never null; the reader is left at the element's end.
    QString GetTextValue(QXmlStreamReader& reader) const;
    // Skips the value of a field this record does not know; gives the number of bytes skipped.
    int skipCurrentElement(QDataStream& stream, int length, int tag) const;

private:
    bool FailXml(QXmlStreamReader const& reader, QString const& problem) const;

    QString m_objectName;
    ObjectTypes m_objectType;
    qint64 m_recordId = 0;
    mutable bool m_validate = false;
    mutable std::shared_ptr<Logger> m_logger;
};

} // namespace RECORDMODEL
