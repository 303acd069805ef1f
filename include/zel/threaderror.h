#pragma once

#include <zel/zel_export.h>

#include <exception>
#include <string>

namespace zel {

// A thread object whose thread did not start; the text holds the collected reasons.
class ZEL_EXPORT ThreadError : public std::exception
{
public:
    explicit ThreadError(std::string text);
    char const* what() const noexcept override;

private:
    std::string text;
};

} // namespace zel
