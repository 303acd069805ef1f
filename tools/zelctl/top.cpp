#include "top.h"

#include "identities.h"
#include "interruption.h"
#include "observation.h"
#include "reply.h"

#include <QJsonDocument>
#include <QStringList>

#include <chrono>
#include <cstdio>

#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// Keys one at a time and unechoed while it lives, when stdin is a terminal; Ctrl-C still interrupts.
class KeyboardMode
{
public:
    KeyboardMode()
    {
        if (!isatty(STDIN_FILENO) || tcgetattr(STDIN_FILENO, &saved) != 0)
            return;
        termios raw = saved;
        raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        active = tcsetattr(STDIN_FILENO, TCSANOW, &raw) == 0;
    }
    ~KeyboardMode()
    {
        if (active)
            tcsetattr(STDIN_FILENO, TCSANOW, &saved);
    }
    KeyboardMode(KeyboardMode const&) = delete;
    KeyboardMode& operator=(KeyboardMode const&) = delete;

    // Waits until `until`; true when q was pressed or Ctrl-C came.
    bool quitBefore(Clock::time_point until) const
    {
        while (!interrupted()) {
            auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now());
            if (left <= 0ms)
                return false;
            pollfd input { STDIN_FILENO, POLLIN, 0 };
            if (poll(&input, active ? 1 : 0, static_cast<int>(left.count())) <= 0 || !active)
                continue;
            char key = 0;
            if (read(STDIN_FILENO, &key, 1) == 1 && (key == 'q' || key == 'Q'))
                return true;
        }
        return true;
    }

private:
    termios saved {};
    bool active = false;
};

QString fixed(double value, int decimals) { return QString::number(value, 'f', decimals); }

QString percent(double share) { return fixed(share * 100, 0) + QLatin1Char('%'); }

QStringList row(ProcessorView const& processor, Observation const& observation, ObservedRates const& rates)
{
    QString const key = Observation::key(processor);
    QStringList cells { processor.group, processor.name };
    auto const sample = observation.samples.constFind(key);
    if (sample == observation.samples.cend()) {
        QString const problem = processor.problem.isEmpty() ? observation.problems.value(key) : processor.problem;
        return cells << QStringLiteral("?") << QStringLiteral("(%1)").arg(problem);
    }
    cells << sample->type << sample->state;
    auto const rate = rates.processors.constFind(key);
    if (rate == rates.processors.cend())
        return cells;
    return cells << fixed(rate->inMessages, 0) << fixed(rate->outMessages, 0) << fixed(rate->inMegabytes, 2)
                 << (rate->batch ? fixed(*rate->batch, 1) : QStringLiteral("-")) << percent(rate->busyShare);
}

// Columns as wide as their widest cell; the numbers right-aligned.
QString table(Observation const& observation, ObservedRates const& rates)
{
    QVector<QStringList> rows { { "GROUP", "PROCESSOR", "TYPE", "STATE", "IN MSG/S", "OUT MSG/S", "IN MB/S", "BATCH",
        "BUSY" } };
    for (GroupView const& group : observation.topology.groups) {
        for (ProcessorView const& processor : group.processors)
            rows.append(row(processor, observation, rates));
    }
    QVector<int> widths(rows.first().size(), 0);
    for (QStringList const& cells : rows) {
        for (int i = 0; i < cells.size(); ++i)
            widths[i] = std::max(widths[i], static_cast<int>(cells[i].size()));
    }
    QStringList lines;
    for (QStringList const& cells : rows) {
        QStringList padded;
        for (int i = 0; i < cells.size(); ++i)
            padded << (i < 4 ? cells[i].leftJustified(widths[i]) : cells[i].rightJustified(widths[i]));
        lines << padded.join(QStringLiteral("  ")).trimmed();
    }
    return lines.join(QLatin1Char('\n'));
}

QString render(Observation const& observation, ObservedRates const& rates, bool json)
{
    if (json)
        return QString::fromUtf8(QJsonDocument(observationJson(observation, rates)).toJson(QJsonDocument::Compact));
    return table(observation, rates);
}

} // namespace

int top(Invocation& call)
{
    QString const format = call.line.value(QStringLiteral("--format"), QStringLiteral("text"));
    if (format != QLatin1String("json") && format != QLatin1String("text")) {
        err(QStringLiteral("--format takes json or text"));
        return ExitUsage;
    }
    bool const json = format == QLatin1String("json");
    QString const group = call.args.value(0);
    catchInterruption();
    KeyboardMode const keyboard;
    Observation before;
    for (bool first = true;; first = false) {
        Clock::time_point const due = Clock::now() + observationPeriod;
        Observation now;
        zelmsg::ControlMessage failed;
        Outcome const outcome = Observation::take(call.client, now, failed, group);
        if (outcome != Outcome::Success)
            return conclude(call, Identities::manager(), outcome, failed, printNothing);
        // The first sample has nothing to take differences from.
        if (!first) {
            QString const screen = render(now, ObservedRates::between(before, now), json);
            if (call.line.has(QStringLiteral("--once"))) {
                out(screen);
                return ExitSuccess;
            }
            std::printf("%s%s\n%s\n", json ? "" : "\033[H\033[2J", qPrintable(screen),
                json ? "" : "\n(q to quit; refreshed every second)");
            std::fflush(stdout);
        }
        before = std::move(now);
        if (keyboard.quitBefore(due))
            return ExitSuccess;
    }
}
