#include "reply.h"

#include <cstdio>

void out(QString const& text) { std::printf("%s\n", qPrintable(text)); }
void err(QString const& text) { std::fprintf(stderr, "zelctl: %s\n", qPrintable(text)); }

void printNothing(zelmsg::ControlMessage const&) { }

int conclude(Invocation& call, Outcome outcome, zelmsg::ControlMessage const& record, Printer const& print)
{
    switch (outcome) {
    case Outcome::Timeout:
        err(QStringLiteral("no answer from %1 within %2 ms")
                .arg(QString::fromStdString(call.client.address()))
                .arg(call.client.timeout()));
        return ExitTimeout;
    case Outcome::Failure:
        if (call.line.has(QStringLiteral("--xml")))
            out(record.GetXmlString());
        err(record.GetResultTypeAsString() + QStringLiteral(": ") + record.GetMessageText());
        return ExitFailure;
    case Outcome::Success:
        break;
    }
    if (call.line.has(QStringLiteral("--xml")))
        out(record.GetXmlString());
    else
        print(record);
    return ExitSuccess;
}
