#pragma once

#include <string>

namespace zel {

// An ipc:// bind removes whatever lies at its path, and closing the socket leaves the socket file
// behind. These keep a client-given address from replacing a file that is not a socket, and take
// the socket file away with the stream. Endpoints of other transports are left alone. Any thread.

// Whether `endpoint` is ipc:// at a path where something other than a socket exists.
bool ipcPathHoldsOtherFile(std::string const& endpoint);

// Removes the socket file of an ipc:// endpoint; anything else at the path stays.
void removeIpcSocketFile(std::string const& endpoint);

} // namespace zel
