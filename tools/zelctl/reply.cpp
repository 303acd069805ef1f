#include "reply.h"

#include "diagnosis.h"

#include <cstdio>

void out(QString const& text) { std::printf("%s\n", qPrintable(text)); }
void err(QString const& text) { std::fprintf(stderr, "zelctl: %s\n", qPrintable(text)); }

void printNothing(zelmsg::ControlMessage const&) { }

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
