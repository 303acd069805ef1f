#include "mcaperror.h"

namespace zelmcap {

McapError::McapError(std::uint64_t offset, std::string const& text)
    : std::runtime_error(text)
    , at(offset)
{ }

} // namespace zelmcap
