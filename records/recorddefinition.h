#pragma once

// ZELMSG_DEFINE_RECORD: the members every record shares (zel/zelmsg/recordfields.h declares them), defined once
// over the record's field table by forwarding to the field rules and the two forms.

#include "binaryform.h"
#include "recordrules.h"
#include "xmlform.h"

#include <QCoreApplication>

#define ZELMSG_XML_FORM(R) ::zelmsg::detail::XmlForm<R>
#define ZELMSG_BINARY_FORM(R) ::zelmsg::detail::BinaryForm<R>

// The whole record: private part, per-field members and record-level operations.
#define ZELMSG_DEFINE_RECORD(R, FIELDS)                                                                                \
    ZELMSG_DEFINE_DATA(R, FIELDS)                                                                                      \
    FIELDS(ZELMSG_DEFINE_FIELD, R)                                                                                     \
    R::R() { ZELMSG_RULES(R)::construct(*this); }                                                                      \
    R::R(R const& other)                                                                                               \
        : RECORDMODEL::IRMObject(other.GetObjectType())                                                                \
        , d(other.d)                                                                                                   \
    {                                                                                                                  \
        ZELMSG_RULES(R)::construct(*this);                                                                             \
        SetValidate(other.GetValidate());                                                                              \
    }                                                                                                                  \
    R& R::operator=(R const& other)                                                                                    \
    {                                                                                                                  \
        d = other.d;                                                                                                   \
        return *this;                                                                                                  \
    }                                                                                                                  \
    R::~R() = default;                                                                                                 \
    bool R::operator==(R const& other) const { return ZELMSG_RULES(R)::equal(*this, other); }                          \
    bool R::operator!=(R const& other) const { return !(*this == other); }                                             \
    qint64 R::GetId() { return id; }                                                                                   \
    QString const& R::GetStaticObjectName()                                                                            \
    {                                                                                                                  \
        static QString const name = QStringLiteral(#R);                                                                \
        return name;                                                                                                   \
    }                                                                                                                  \
    bool R::IsInitialized() const { return d.constData() != nullptr; }                                                 \
    bool R::AnyData() const { return ZELMSG_RULES(R)::anyData(*this); }                                                \
    void R::Check(bool deep) const { ZELMSG_RULES(R)::check(*this, deep); }                                            \
    void R::Check() const { Check(false); }                                                                            \
    void R::Reset() { ZELMSG_RULES(R)::reset(*this); }                                                                 \
    void R::ResetToDefault() { ZELMSG_RULES(R)::resetToDefault(*this); }                                               \
    bool R::GetXml(QXmlStreamWriter& writer) const { return ZELMSG_XML_FORM(R)::getXml(*this, writer); }               \
    bool R::GetBinary(QDataStream& stream, int tag, bool writeId) const                                                \
    {                                                                                                                  \
        return ZELMSG_BINARY_FORM(R)::getBinary(*this, stream, tag, writeId);                                          \
    }                                                                                                                  \
    void R::SetBinary(QDataStream& stream, int length) { ZELMSG_BINARY_FORM(R)::setBinary(*this, stream, length); }    \
    void R::ProcessXml(QXmlStreamReader& reader)                                                                       \
    {                                                                                                                  \
        InitData();                                                                                                    \
        RECORDMODEL::IRMObject::ProcessXml(reader);                                                                    \
    }                                                                                                                  \
    void R::SetValidate(bool validate) const                                                                           \
    {                                                                                                                  \
        RECORDMODEL::IRMObject::SetValidate(validate);                                                                 \
        ZELMSG_RULES(R)::forward(                                                                                      \
            *this, [validate](RECORDMODEL::IRMObject const& nested) { nested.SetValidate(validate); });                \
    }                                                                                                                  \
    void R::SetLogger(std::shared_ptr<RECORDMODEL::Logger> logger) const                                               \
    {                                                                                                                  \
        RECORDMODEL::IRMObject::SetLogger(logger);                                                                     \
        ZELMSG_RULES(R)::forward(                                                                                      \
            *this, [&logger](RECORDMODEL::IRMObject const& nested) { nested.SetLogger(logger); });                     \
    }                                                                                                                  \
    void R::SetObjectType(RECORDMODEL::ObjectTypes) { }                                                                \
    void R::GetVersionSpecificBinaryWithoutValidation(QDataStream& stream) const                                       \
    {                                                                                                                  \
        ZELMSG_BINARY_FORM(R)::writePositional(*this, stream);                                                         \
    }                                                                                                                  \
    void R::SetVersionSpecificBinaryWithoutValidation(QDataStream& stream)                                             \
    {                                                                                                                  \
        ZELMSG_BINARY_FORM(R)::readPositional(*this, stream);                                                          \
    }                                                                                                                  \
    void R::ProcessXmlStartElement(QXmlStreamReader& reader)                                                           \
    {                                                                                                                  \
        ZELMSG_XML_FORM(R)::processStartElement(*this, reader);                                                        \
    }                                                                                                                  \
    void R::InitData() const { ZELMSG_RULES(R)::initData(*this); }                                                     \
    void R::ConstNoClearReset() const { ZELMSG_RULES(R)::assignDefaults(*this); }

#define ZELMSG_DEFINE_TR(R)                                                                                            \
    QString R::tr(const char* text, const char* disambiguation, int n)                                                 \
    {                                                                                                                  \
        return QCoreApplication::translate("zelmsg::" #R, text, disambiguation, n);                                    \
    }                                                                                                                  \
    QString R::trUtf8(const char* text, const char* disambiguation, int n) { return tr(text, disambiguation, n); }
