#include <zel/host/tracefolder.h>

#include <utility>

namespace {

auto const foldWindow = std::chrono::seconds(1);

} // namespace

TraceFolder::TraceFolder(Output output, std::function<Clock::time_point()> now)
    : output(std::move(output))
    , now(std::move(now))
{ }

TraceFolder::~TraceFolder() { flush(); }

void TraceFolder::write(QString const& line)
{
    Clock::time_point const at = now();
    bool const repeat = line == last && !last.isNull();
    if (repeat && at - lastWritten < foldWindow) {
        ++held;
        return;
    }
    if (repeat && held > 0) {
        // Past the window with repeats held: this one joins them in the count line.
        ++held;
        flush();
    } else {
        flush();
        output(line);
        last = line;
    }
    lastWritten = at;
}

void TraceFolder::flush()
{
    if (held > 0)
        output(held == 1 ? last : last + QStringLiteral(" (repeated %1 times)").arg(held));
    held = 0;
}
