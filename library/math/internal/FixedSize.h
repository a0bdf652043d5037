#pragma once

#include "math/Matrix.h"
#include "math/Vector.h"

/// The checks of the classes whose size is fixed.
namespace measuremath {

/// @throws MathError "Bad vector dimension" unless `v` has `n` elements.
inline void requireSize(Vector const& v, int n, int line = __builtin_LINE(),
                        char const* file = __builtin_FILE())
{
    require(v.getSize() == n, "Bad vector dimension", line, file);
}

/// @throws MathError "Bad matrix dimesions" unless `m` is `rows` × `cols`.
inline void requireDimensions(Matrix const& m, int rows, int cols, int line = __builtin_LINE(),
                              char const* file = __builtin_FILE())
{
    // The text is kept as it has always been spelt.
    require(m.getRow() == rows && m.getCol() == cols, "Bad matrix dimesions", line, file);
}

}  // namespace measuremath
