#pragma once

// Ctrl-C and SIGTERM for commands that run until stopped: the first one asks them to finish what
// they do and clean up (deregister, close the file).
namespace Interruption {

void catchSignals();
bool requested();

} // namespace Interruption
