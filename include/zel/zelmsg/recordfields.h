#pragma once

// The shape shared by the records of zelmsg. A record is declared by a field table:
//
//   #define ZELMSG_<RECORD>_FIELDS(F, R) F(R, Kind, Name, Tag, Presence) ...
//
// in field order, which is also the order of the presence bits and of every written form. Kind is one of
// String, Enum, StringList, RecordList, Record, Bool. An Enum field's type is the record's nested enumeration of
// the same name, a Record or RecordList field's element type the record class of the same name. Tag is the
// field's tag in the tagged binary form. A Required field is always written and must be set for Check; a
// Required enumeration has no valid default (-1), an Optional one defaults to its first name.

#include <zel/host/irmobject.h>
#include <zel/zel_export.h>

#include <QSharedDataPointer>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>

namespace RECORDMODEL {
class Logger;
}

namespace zelmsg {
namespace detail {
template <class R> struct RecordEngine;
} // namespace detail
} // namespace zelmsg

// The record-level members every record of the family has.
#define ZELMSG_RECORD_MEMBERS(R)                                                                                       \
public:                                                                                                                \
    R();                                                                                                               \
    R(R const& other);                                                                                                 \
    R& operator=(R const& other);                                                                                      \
    ~R() override;                                                                                                     \
    bool operator==(R const& other) const;                                                                             \
    bool operator!=(R const& other) const;                                                                             \
    static qint64 GetId();                                                                                             \
    static QString const& GetStaticObjectName();                                                                       \
    bool IsInitialized() const;                                                                                        \
    bool HasData() const override;                                                                                     \
    bool AnyData() const;                                                                                              \
    void Check(bool deep) const override;                                                                              \
    void Check() const override;                                                                                       \
    void Reset() override;                                                                                             \
    void ResetToDefault();                                                                                             \
    bool GetXml(QXmlStreamWriter& writer) const override;                                                              \
    bool GetBinary(QDataStream& stream, int tag, bool writeId) const override;                                         \
    void SetBinary(QDataStream& stream, int length) override;                                                          \
    void ProcessXml(QXmlStreamReader& reader) override;                                                                \
    void SetValidate(bool validate) const override;                                                                    \
    void SetLogger(std::shared_ptr<RECORDMODEL::Logger> logger) const override;                                        \
    void SetObjectType(RECORDMODEL::ObjectTypes type) override;                                                        \
    void GetVersionSpecificBinaryWithoutValidation(QDataStream& stream) const;                                         \
    void SetVersionSpecificBinaryWithoutValidation(QDataStream& stream);                                               \
                                                                                                                       \
protected:                                                                                                             \
    void ProcessXmlStartElement(QXmlStreamReader& reader) override;                                                    \
                                                                                                                       \
private:                                                                                                               \
    struct Data;                                                                                                       \
    friend struct ::zelmsg::detail::RecordEngine<R>;                                                                   \
    void InitData() const;                                                                                             \
    void ConstNoClearReset() const;                                                                                    \
    /* Mutable: const reads allocate on first use, and detach a shared private part like writes do. */                 \
    mutable QSharedDataPointer<Data> d;                                                                                \
                                                                                                                       \
public:

// Translation in the record's own context.
#define ZELMSG_DECLARE_TR                                                                                              \
    static QString tr(const char* text, const char* disambiguation = nullptr, int n = -1);                             \
    static QString trUtf8(const char* text, const char* disambiguation = nullptr, int n = -1);

// The per-field members, by kind.
#define ZELMSG_DECLARE_FIELD(R, Kind, X, Tag, Presence) ZELMSG_DECLARE_##Kind(X)

#define ZELMSG_DECLARE_String(X)                                                                                       \
    QString Get##X() const;                                                                                            \
    QString GetDefault##X() const;                                                                                     \
    bool IsValid##X(QString const& value) const;                                                                       \
    bool Is##X##Set() const;                                                                                           \
    void Set##X(QString value);                                                                                        \
    void Reset##X();

#define ZELMSG_DECLARE_Enum(X)                                                                                         \
    X const& Get##X() const;                                                                                           \
    X GetDefault##X() const;                                                                                           \
    X GetInvalid##X() const;                                                                                           \
    bool IsValid##X(X const& value) const;                                                                             \
    bool Is##X##Set() const;                                                                                           \
    void Set##X(X const& value);                                                                                       \
    void Reset##X();                                                                                                   \
    QString Get##X##AsString() const;                                                                                  \
    QString X##ToName(X const& value) const;                                                                           \
    X NameTo##X(QString const& name) const;                                                                            \
    static QStringList const& Get##X##s();                                                                             \
    static QStringList GetGUI##X##s();

#define ZELMSG_DECLARE_StringList(X)                                                                                   \
    QVector<QString> const& Get##X() const;                                                                            \
    QVector<QString>& Get##X();                                                                                        \
    QString GetDefault##X() const;                                                                                     \
    bool IsValid##X(QVector<QString> const& value) const;                                                              \
    bool IsValid##X(QString const& value) const;                                                                       \
    bool Is##X##Set() const;                                                                                           \
    void Set##X(QVector<QString> const& value);                                                                        \
    void Append##X(QString const& value);                                                                              \
    void Reset##X();

#define ZELMSG_DECLARE_RecordList(X)                                                                                   \
    QVector<X> const& Get##X() const;                                                                                  \
    QVector<X>& Get##X();                                                                                              \
    bool IsValid##X(QVector<X> const& value) const;                                                                    \
    bool IsValid##X(X const& value) const;                                                                             \
    bool Is##X##Set() const;                                                                                           \
    void Set##X(QVector<X> const& value);                                                                              \
    void Append##X(X const& value);                                                                                    \
    void Reset##X();

#define ZELMSG_DECLARE_Record(X)                                                                                       \
    X const& Get##X() const;                                                                                           \
    X& Get##X();                                                                                                       \
    bool IsValid##X(X const& value) const;                                                                             \
    bool Is##X##Set() const;                                                                                           \
    void Set##X(X const& value);                                                                                       \
    void Reset##X();

#define ZELMSG_DECLARE_Bool(X)                                                                                         \
    bool Get##X() const;                                                                                               \
    bool GetDefault##X() const;                                                                                        \
    bool Is##X##Set() const;                                                                                           \
    void Set##X(bool value);                                                                                           \
    void Reset##X();
