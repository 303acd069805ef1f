#pragma once

// Ctrl-C and SIGTERM end a command that runs until stopped: from this call on they only set a flag
// that the command's loop looks at, so that it can clean up (a terminal's mode, a server) first.
void catchInterruption();
bool interrupted();
