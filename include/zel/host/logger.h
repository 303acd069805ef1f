#pragma once

#include <zel/host/zelhostframework_export.h>

#include <QString>

namespace RECORDMODEL {

// Where a record reports what it cannot say by exception, such as input that is not XML.
// Records hand their logger down to the records they hold.
class ZELHOSTFRAMEWORK_EXPORT Logger
{
public:
    virtual ~Logger();

    virtual void Log(QString const& text) = 0;
};

} // namespace RECORDMODEL
