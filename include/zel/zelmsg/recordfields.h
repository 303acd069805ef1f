#pragma once

// The shape shared by the records of zelmsg. Each record's header declares its field accessors (GetX, SetX,
// IsXSet, ResetX, ...) and opens its class with ZELMSG_RECORD_MEMBERS. None of them is written by hand: the
// record's .cpp holds its field table (name, kind, binary tag, presence) and expands ZELMSG_DEFINE_RECORD
// over it (records/recorddefinition.h). The bodies then forward to the field rules (records/recordrules.h),
// the XML form (records/xmlform.h) and the binary forms (records/binaryform.h).

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
template <class R> struct RecordRules;
template <class R> struct XmlForm;
template <class R> struct BinaryForm;
} // namespace detail
} // namespace zelmsg

// Opens each record's class body; ZELMSG_DEFINE_RECORD in its .cpp defines what this declares.
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
    friend struct ::zelmsg::detail::RecordRules<R>;                                                                    \
    friend struct ::zelmsg::detail::XmlForm<R>;                                                                        \
    friend struct ::zelmsg::detail::BinaryForm<R>;                                                                     \
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
