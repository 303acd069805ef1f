#pragma once

#include <zel/host/zelhostframework_export.h>

class HXException;

// What the host is told of an exception that a module caught.
class ZELHOSTFRAMEWORK_EXPORT IErrorHandler
{
public:
    virtual ~IErrorHandler();
    // Records the exception. Returns; never throws.
    virtual void ReportException(HXException const& exception) = 0;
    // Tells the user of it, as the flags ask. Returns; never throws.
    virtual void ReportException(HXException const& exception, int context, int severity, bool log, bool display) = 0;
};
