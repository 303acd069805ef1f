#include <zel/host/errorhandler.h>

#include <zel/host/hxexception.h>
#include <zel/host/ierrorhandler.h>
#include <zel/host/tracefolder.h>

#include <QByteArray>

#include <cstdio>
#include <optional>

namespace {

// The flags ZEL_TRACE_FLAGS sets; nothing when it is unset, empty or unreadable. An unreadable value
// is reported, since it would otherwise turn every trace off without a word.
std::optional<unsigned int> flagsFromEnvironment()
{
    QByteArray const text = qgetenv("ZEL_TRACE_FLAGS").trimmed();
    if (text.isEmpty())
        return std::nullopt;
    bool ok = false;
    unsigned int const value = text.toUInt(&ok, 0); // base 0: 0x.. is hex, else decimal
    if (ok)
        return value;
    std::fprintf(
        stderr, "zel: ZEL_TRACE_FLAGS=%s is not a number (hex with 0x, or decimal): ignored\n", text.constData());
    return std::nullopt;
}

void writeLine(QString const& line)
{
    QByteArray const out = (line + QLatin1Char('\n')).toLocal8Bit();
    std::fwrite(out.constData(), 1, static_cast<size_t>(out.size()), stderr);
    std::fflush(stderr);
}

QString traceLine(QString const& text, QString const& file, unsigned short line)
{
    return QStringLiteral("zel: %1 (%2:%3)").arg(text, file).arg(line);
}

void writeToStderr(QString const& text, QString const& file, unsigned short line)
{
    writeLine(traceLine(text, file, line));
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
    : m_interface(std::make_shared<StderrErrorHandler>())
    , m_console(std::make_unique<TraceFolder>(writeLine))
{
    std::optional<unsigned int> const flags = flagsFromEnvironment();
    m_flags = flags.value_or(0);
    m_flagsFromEnvironment = flags.has_value();
}

ErrorHandler::~ErrorHandler() = default;

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

void ErrorHandler::SetDefaultTraceFlags(unsigned int flags)
{
    if (!m_flagsFromEnvironment)
        SetTraceFlags(flags);
}

void ErrorHandler::SetTraceSink(Sink sink)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_console->flush();
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
        if (!m_sink) {
            m_console->write(traceLine(text, file, line));
            return;
        }
        sink = m_sink;
    }
    sink(text, file, line);
}

void _Q_Trace(QString const& text, QString const& file, unsigned short line)
{
    ErrorHandler::Instance().Trace(text, file, line);
}
