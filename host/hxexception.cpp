#include <zel/host/hxexception.h>

HXException::HXException(QString const& text, QString const& file, QString const& className, QString const& method,
    unsigned int line, unsigned int code)
    : m_text(text)
    , m_file(file)
    , m_className(className)
    , m_method(method)
    , m_line(line)
    , m_code(code)
{ }

HXException::~HXException() = default;
