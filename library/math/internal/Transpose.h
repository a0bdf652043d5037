#pragma once

#include <algorithm>
#include <cstddef>

namespace measuremath {

/// Writes the transpose of a row-major `rows` × `cols` matrix to `out`, which does not overlap it.
/// The rows of `in` start `stride` elements apart.
inline void transpose(double const* in, int rows, int cols, int stride, double* out)
{
    constexpr int block = 16;  // both sides stay in the cache; runs are written, jumps are read
    for (int c0 = 0; c0 < cols; c0 += block) {
        int const cEnd = std::min(c0 + block, cols);
        for (int r0 = 0; r0 < rows; r0 += block) {
            int const rEnd = std::min(r0 + block, rows);
            for (int c = c0; c < cEnd; ++c)
                for (int r = r0; r < rEnd; ++r)
                    out[static_cast<std::ptrdiff_t>(c) * rows + r] =
                        in[static_cast<std::ptrdiff_t>(r) * stride + c];
        }
    }
}

}  // namespace measuremath
