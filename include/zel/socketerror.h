#pragma once

#include <zel/zel_export.h>

#include <exception>
#include <string>

namespace zel {

// A failure of the socket layer: a frame that did not go, a message of the wrong shape.
class ZEL_EXPORT SocketError : public std::exception
{
public:
    explicit SocketError(std::string text);
    char const* what() const noexcept override;

private:
    std::string text;
};

} // namespace zel
