#pragma once

#include "math/internal/HalfSpace.h"
#include "math/internal/Vec3.h"

#include <cstdint>
#include <vector>

namespace measuremath {

struct CornerTest;

/// Points of a box at equal steps along its three axes, counted by whole rows.
///
/// Along a row the rounded value of a plane never turns back: multiplying by a constant and adding
/// constants keep the order of numbers, and so does rounding. What a half-space holds of a row is
/// therefore one run of points, and bisection over the very values that a test of every point would
/// see finds its end. The counts are those of that test.
class BoxGrid {
public:
    /// Axis k has the points min[k], min[k] + step, (min[k] + step) + step, ... up to max[k].
    /// @throws MathError "ConvexPolyedron::computeVolume : Bad step." or
    ///         "ConvexPolyedron::computeVolume : Step too small.", as documented there.
    BoxGrid(Vec3 const& min, Vec3 const& max, double step);

    /// Number of grid points p for which the eight corners of the cube of half side `halfCell`
    /// about p have planeValue <= tolerance for all half-spaces; with 0 these corners are p itself.
    std::uint64_t countInside(std::vector<HalfSpace> const& planes, double tolerance,
                              double halfCell) const;

    /// The product of (extent / step + 1) over the axes, each quotient truncated.
    double getNominalCount() const { return _nominalCount; }

    double getBoxVolume() const { return _boxVolume; }

private:
    template <int axis>
    std::uint64_t countRows(std::vector<CornerTest> const& tests, double tolerance) const;

    std::vector<double> _axes[3];
    double _step;
    double _boxVolume;
    double _nominalCount = 1.0;
};

}  // namespace measuremath
