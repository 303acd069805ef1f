#include "transport/ipcpath.h"

#include <sys/stat.h>
#include <unistd.h>

namespace zel {

namespace {

std::string const ipcScheme = "ipc://";

// The file an endpoint names: empty for other transports, the wildcard, and Linux's abstract
// names ("@..."), which have no file.
std::string ipcFile(std::string const& endpoint)
{
    if (endpoint.compare(0, ipcScheme.size(), ipcScheme) != 0)
        return {};
    std::string const path = endpoint.substr(ipcScheme.size());
    if (path.empty() || path == "*" || path.front() == '@')
        return {};
    return path;
}

// The type bits of what lies at `path`, not following a link; 0 when nothing does.
mode_t fileType(std::string const& path)
{
    struct stat info = {};
    if (path.empty() || lstat(path.c_str(), &info) != 0)
        return 0;
    return info.st_mode & S_IFMT;
}

} // namespace

bool ipcPathHoldsOtherFile(std::string const& endpoint)
{
    mode_t const type = fileType(ipcFile(endpoint));
    return type != 0 && type != S_IFSOCK;
}

void removeIpcSocketFile(std::string const& endpoint)
{
    std::string const path = ipcFile(endpoint);
    if (fileType(path) == S_IFSOCK)
        unlink(path.c_str());
}

} // namespace zel
