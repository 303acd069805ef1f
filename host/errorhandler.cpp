#include <zel/host/errorhandler.h>

#include <zel/host/hxexception.h>
#include <zel/host/ierrorhandler.h>

#include <QByteArray>

#include <cstdio>

namespace {

unsigned int flagsFromEnvironment()
{
    QByteArray const text = qgetenv("ZEL_TRACE_FLAGS").trimmed();
    bool ok = false;
    unsigned int const value = text.toUInt(&ok, 0); // base 0: 0x.. is hex, else decimal
    return ok ? value : 0;
}

void writeToStderr(QString const& text, QString const& file, unsigned short line)
{
    QByteArray const out = QStringLiteral("zel: %1 (%2:%3)\n").arg(text, file).arg(line).toLocal8Bit();
    std::fwrite(out.constData(), 1, static_cast<size_t>(out.size()), stderr);
    std::fflush(stderr);
}

// Writes the first report of an exception to stderr; a console host has nothing to display.
class StderrErrorHandler : public IErrorHandler
{
public:
    void ReportException(HXException const& e) override
    {
        writeToStderr(e.text(), e.file(), static_cast<unsigned short>(e.line()));
    }
    void ReportException(HXException const&, int, int, bool, bool) override { }
};

} // namespace

IErrorHandler::~IErrorHandler() = default;

ErrorHandler::ErrorHandler()
    : m_flags(flagsFromEnvironment())
    , m_interface(std::make_shared<StderrErrorHandler>())
{ }

ErrorHandler& ErrorHandler::Instance()
{
    static ErrorHandler instance;
    return instance;
}

IErrorHandler* ErrorHandler::Interface()
{
    ErrorHandler& self = Instance();
    std::lock_guard<std::mutex> lock(self.m_mutex);
    return self.m_interface.get();
}

unsigned int ErrorHandler::GetTraceFlags() const { return m_flags.load(std::memory_order_relaxed); }

void ErrorHandler::SetTraceFlags(unsigned int flags) { m_flags.store(flags, std::memory_order_relaxed); }

void ErrorHandler::SetTraceSink(Sink sink)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_sink = std::move(sink);
}

void ErrorHandler::SetInterface(std::shared_ptr<IErrorHandler> handler)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_interface = handler ? std::move(handler) : std::make_shared<StderrErrorHandler>();
}

void ErrorHandler::Trace(QString const& text, QString const& file, unsigned short line)
{
    Sink sink;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        sink = m_sink;
    }
    if (sink)
        sink(text, file, line);
    else
        writeToStderr(text, file, line);
}

void _Q_Trace(QString const& text, QString const& file, unsigned short line)
{
    ErrorHandler::Instance().Trace(text, file, line);
}
