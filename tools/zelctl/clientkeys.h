#pragma once

#include "commandline.h"

#include <QString>

// zelctl's keys for a zelhost with CURVE on: --key FILE (or $ZEL_KEY), the client's secret key, and
// --server-key FILE|KEY (or $ZEL_SERVER_KEY), the host's public key. Given, they secure every TCP
// socket zelctl makes, so that each command works against a secured host as against a plain one.
// An address may carry a server key of its own, "tcp://HOST:PORT#serverkey=KEY": a pipeline's hosts.
namespace clientkeys {

// Turns CURVE on for the process when keys are given; false with a reason when they are unusable.
bool apply(CommandLine const& line, QString& error);

// Makes a key pair at NAME.key and NAME.pub.
int keygen(QString const& name);

} // namespace clientkeys
