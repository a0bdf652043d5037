#pragma once

#include "math/Vector.h"

#include <algorithm>
#include <vector>

namespace measuremath {

/// The points for which plane[0]·x + plane[1]·y + plane[2]·z + plane[3] is at most a tolerance.
struct HalfSpace {
    double plane[4];
};

/// a·x + b·y + c·z + d for the four numbers (a, b, c, d). Whoever decides "inside" does it by this
/// value, rounded in this order, so that all agree at the last digit.
inline double planeValue(double const* plane, double x, double y, double z)
{
    return plane[0] * x + plane[1] * y + plane[2] * z + plane[3];
}

/// The planes side by side in memory.
inline std::vector<HalfSpace> packed(std::vector<Vector> const& planes)
{
    std::vector<HalfSpace> result(planes.size());
    for (std::size_t i = 0; i < planes.size(); ++i)
        std::copy(planes[i].begin(), planes[i].end(), result[i].plane);
    return result;
}

}  // namespace measuremath
