#include "reply.h"

#include "diagnosis.h"

#include <cstdio>

void out(QString const& text) { std::printf("%s\n", qPrintable(text)); }
void err(QString const& text) { std::fprintf(stderr, "zelctl: %s\n", qPrintable(text)); }

void printNothing(zelmsg::ControlMessage const&) { }

namespace {

// A processor's thread wraps the failure that ended it; the wrapper's last layer ends in this.
QString const threadWrapper = QStringLiteral("ControllableThread::run() failed: ");

// The failure inside the thread wrapper of `text`, without the quote and stop the wrapping text
// closes with; empty when `text` wraps nothing.
QString wrappedReason(QString const& text)
{
    int const at = text.lastIndexOf(threadWrapper);
    if (at < 0)
        return {};
    QString reason = text.mid(at + threadWrapper.size());
    if (reason.endsWith(QLatin1String("'.")))
        reason.chop(2);
    return reason;
}

} // namespace

int conclude(Invocation& call, std::string const& identity, Outcome outcome, zelmsg::ControlMessage const& record,
    Printer const& print)
{
    switch (outcome) {
    case Outcome::Timeout:
        return diagnoseSilence(call.client, identity);
    case Outcome::Failure: {
        if (call.line.has(QStringLiteral("--xml")))
            out(record.GetXmlString());
        // Some services begin their texts with the result type already.
        QString const type = record.GetResultTypeAsString() + QStringLiteral(": ");
        QString const text = record.GetMessageText();
        err(text.startsWith(type) ? text : type + text);
        if (QString const reason = wrappedReason(text); !reason.isEmpty())
            err(QStringLiteral("reason: ") + reason);
        return ExitFailure;
    }
    case Outcome::Success:
        break;
    }
    if (call.line.has(QStringLiteral("--xml")))
        out(record.GetXmlString());
    else
        print(record);
    return ExitSuccess;
}
