#include <zel/socketerror.h>

namespace zel {

SocketError::SocketError(std::string text)
    : text(std::move(text))
{ }

char const* SocketError::what() const noexcept { return text.c_str(); }

} // namespace zel
