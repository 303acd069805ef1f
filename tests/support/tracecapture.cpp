#include "tracecapture.h"

#include <zel/host/errorhandler.h>

namespace zeltest {

TraceCapture::TraceCapture(unsigned int flags)
    : savedFlags(ErrorHandler::Instance().GetTraceFlags())
    , lines(std::make_shared<Lines>())
{
    ErrorHandler::Instance().SetTraceSink([lines = lines](QString const& text, QString const& file, unsigned short) {
        std::lock_guard<std::mutex> lock(lines->mutex);
        lines->texts << text;
        lines->files << file;
    });
    ErrorHandler::Instance().SetTraceFlags(flags);
}

TraceCapture::~TraceCapture()
{
    ErrorHandler::Instance().SetTraceFlags(savedFlags);
    ErrorHandler::Instance().SetTraceSink({});
}

QStringList TraceCapture::texts() const
{
    std::lock_guard<std::mutex> lock(lines->mutex);
    return lines->texts;
}

QStringList TraceCapture::files() const
{
    std::lock_guard<std::mutex> lock(lines->mutex);
    return lines->files;
}

int TraceCapture::count() const
{
    std::lock_guard<std::mutex> lock(lines->mutex);
    return lines->texts.size();
}

bool TraceCapture::waitForCount(int expected, std::chrono::milliseconds deadline) const
{
    return waitUntil([&] { return count() >= expected; }, deadline);
}

} // namespace zeltest
