#pragma once

#include <zel/processorerror.h>

namespace zel {

// A configuration that a stream processor refuses, thrown from its constructor.
class ZEL_EXPORT CreateProcessorError : public ProcessorError
{
public:
    using ProcessorError::ProcessorError;
};

} // namespace zel
