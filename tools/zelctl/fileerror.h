#pragma once

#include <mcaperror.h>

#include <QString>

// Says what is wrong with a recording, naming the file and the offset, and gives exit code 2.
int fileError(QString const& path, zelmcap::McapError const& error);
