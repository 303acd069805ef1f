#pragma once

#include <zel/host/zelhostframework_export.h>

#include <QString>

namespace RECORDMODEL {

// Not derived from std::exception on purpose: a catch of std::exception lets record faults through.
class ZELHOSTFRAMEWORK_EXPORT RecordException
{
public:
    explicit RecordException(QString text);
    virtual ~RecordException();

    QString const& text() const { return m_text; }

private:
    QString m_text;
};

// The base of the record model's faults below; catch it for any of them.
class ZELHOSTFRAMEWORK_EXPORT RMException : public RecordException
{
public:
    using RecordException::RecordException;
    ~RMException() override;
};

// A value outside what its field allows, or a record that fails Check.
class ZELHOSTFRAMEWORK_EXPORT OutOfRangeException : public RMException
{
public:
    using RMException::RMException;
    ~OutOfRangeException() override;
};

// An item appended to a list without the data it needs.
class ZELHOSTFRAMEWORK_EXPORT IncompleteDefinitionException : public RMException
{
public:
    using RMException::RMException;
    ~IncompleteDefinitionException() override;
};

// Binary input whose lengths or counts do not add up.
class ZELHOSTFRAMEWORK_EXPORT BinaryParsingException : public RMException
{
public:
    using RMException::RMException;
    ~BinaryParsingException() override;
};

// XML content that a record cannot take.
class ZELHOSTFRAMEWORK_EXPORT InvalidXmlException : public RMException
{
public:
    using RMException::RMException;
    ~InvalidXmlException() override;
};

} // namespace RECORDMODEL
