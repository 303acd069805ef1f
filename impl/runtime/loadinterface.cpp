#include <zel/loadinterface.h>

#include <zel/environmentdll.h>
#include <zel/host/errorhandler.h>
#include <zel/host/hxexception.h>
#include <zel/host/ierrorhandler.h>

#include "runtime/trace.h"

#include <exception>

namespace {

void report(HXException const& exception)
{
    IErrorHandler* handler = ErrorHandler::Interface();
    handler->ReportException(exception);
    handler->ReportException(exception, 0, -1, true, false);
}

} // namespace

zel::IDllInstance* HXCreate(wchar_t const* name)
{
    try {
        return new zel::EnvironmentDll(QString::fromWCharArray(name));
    } catch (HXException const& e) {
        ZEL_TRACE_FAILURE(QStringLiteral("HXException caught in standard catch-block"));
        report(e);
    } catch (std::exception const& e) {
        ZEL_TRACE_FAILURE(QStringLiteral("Standard C++ Exception caught in standard catch-block"));
        report(HXException(QString::fromUtf8(e.what()), ZEL_TRACE_PATH, QStringLiteral("class"),
            QStringLiteral("method"), __LINE__, 0xFFFFFFFF));
    }
    return nullptr;
}

void HXDestroy(zel::IDllInstance* instance) { delete instance; }
