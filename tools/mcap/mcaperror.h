#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace zelmcap {

// A file that cannot be read or written, with the byte offset where that showed.
class McapError : public std::runtime_error
{
public:
    McapError(std::uint64_t offset, std::string const& text);

    std::uint64_t offset() const { return at; }

private:
    std::uint64_t at;
};

} // namespace zelmcap
