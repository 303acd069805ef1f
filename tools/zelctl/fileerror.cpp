#include "fileerror.h"

#include "invocation.h"
#include "reply.h"

int fileError(QString const& path, zelmcap::McapError const& error)
{
    err(QStringLiteral("%1: at offset %2: %3").arg(path).arg(error.offset()).arg(QString::fromStdString(error.what())));
    return ExitUsage;
}
