#include "FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    FuzzInput input({data, size});
    try {
        fuzz(input);
    } catch (MathError const&) {
        // the answer to bad input
    }
    return 0;
}
