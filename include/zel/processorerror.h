#pragma once

#include <zel/zel_export.h>

#include <exception>
#include <string>

namespace zel {

// The exception of the processor family.
class ZEL_EXPORT ProcessorError : public std::exception
{
public:
    explicit ProcessorError(std::string text);
    char const* what() const noexcept override;

private:
    std::string text;
};

} // namespace zel
