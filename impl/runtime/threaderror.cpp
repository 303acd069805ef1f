#include <zel/threaderror.h>

namespace zel {

ThreadError::ThreadError(std::string text)
    : text(std::move(text))
{ }

char const* ThreadError::what() const noexcept { return text.c_str(); }

} // namespace zel
