#include <zel/processorerror.h>

namespace zel {

ProcessorError::ProcessorError(std::string text)
    : text(std::move(text))
{ }

char const* ProcessorError::what() const noexcept { return text.c_str(); }

} // namespace zel
