#include "fuzztargets.h"

// One libFuzzer executable per target: ZEL_FUZZ_TARGET names the body it drives.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    zelfuzz::ZEL_FUZZ_TARGET(data, size);
    return 0;
}
