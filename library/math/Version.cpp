#include "math/Version.h"

char const* measuremath::versionString() noexcept
{
    return MEASUREMATH_VERSION;
}
