#pragma once

#include <zel/host/zelhostframework_export.h>

#include <QString>

// The host framework's exception: a text with where it came from.
class ZELHOSTFRAMEWORK_EXPORT HXException
{
public:
    HXException(QString const& text, QString const& file, QString const& className, QString const& method,
        unsigned int line, unsigned int code);
    virtual ~HXException();

    QString const& text() const { return m_text; }
    QString const& file() const { return m_file; }
    QString const& className() const { return m_className; }
    QString const& method() const { return m_method; }
    unsigned int line() const { return m_line; }
    unsigned int code() const { return m_code; }

private:
    QString m_text;
    QString m_file;
    QString m_className;
    QString m_method;
    unsigned int m_line;
    unsigned int m_code;
};
