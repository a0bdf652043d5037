#include "math/internal/BoxGrid.h"

#include "math/MathError.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace measuremath {

// A half-space and the corner of a cell that lies farthest out of it: by the order of rounded values
// its value is the largest of the eight.
struct CornerTest {
    HalfSpace space;
    Vec3 corner;  // from the grid point
};

namespace {

constexpr double mostPoints = 0x1p40;
constexpr double mostPointsOfAxis = 0x1p24;  // 128 MiB of coordinates
constexpr char const* tooSmall = "ConvexPolyedron::computeVolume : Step too small.";

std::vector<double> axisPoints(double min, double max, double step)
{
    std::vector<double> points = {min};
    for (double x = min + step; x <= max; x += step) {
        require(x > points.back(), tooSmall);  // else the walk would never end
        points.push_back(x);
    }
    return points;
}

std::vector<CornerTest> cornerTests(std::vector<HalfSpace> const& planes, double halfCell)
{
    std::vector<CornerTest> tests;
    for (HalfSpace const& h : planes) {
        auto const side = [&](int i) { return std::copysign(halfCell, h.plane[i]); };
        tests.push_back({h, {{side(0), side(1), side(2)}}});
    }
    return tests;
}

// std::partition_point, looking at the expected place first: at 1e6 points and 6 planes this halves
// the time of a bisection.
template <class Iterator, class Predicate>
Iterator partitionPoint(Iterator first, Iterator last, double expected, Predicate predicate)
{
    auto const end = static_cast<double>(last - first - 1);
    Iterator const guess =
        first + static_cast<std::ptrdiff_t>(expected > 0.0 ? std::min(expected, end) : 0.0);
    if (predicate(*guess)) {
        first = guess + 1;
        if (first == last || !predicate(*first)) return first;
    } else {
        last = guess;
    }
    return std::partition_point(first, last, predicate);
}

// Number of points of a row that pass all tests; the row runs through `p` along `axis`.
template <int axis>
std::size_t countRow(std::vector<CornerTest> const& tests, double tolerance,
                     std::vector<double> const& row, double step, Vec3 p)
{
    auto first = row.begin();
    auto last = row.end();
    for (CornerTest const& test : tests) {
        auto const value = [&](double x) {
            p[axis] = x;
            Vec3 const q = p + test.corner;
            return planeValue(test.space.plane, q[0], q[1], q[2]);
        };
        double const slope = test.space.plane[axis];
        bool const rising = slope > 0.0;
        if (value(rising ? last[-1] : *first) <= tolerance) continue;

        double const expected = (tolerance - value(*first)) / (slope * step);
        auto const end = partitionPoint(
            first, last, expected, [&](double x) { return (value(x) <= tolerance) == rising; });
        (rising ? last : first) = end;
        if (first == last) return 0;
    }
    return static_cast<std::size_t>(last - first);
}

}  // namespace

BoxGrid::BoxGrid(Vec3 const& min, Vec3 const& max, double step)
    : _step(step),
      _boxVolume((max[0] - min[0]) * (max[1] - min[1]) * (max[2] - min[2]))
{
    require(step > 0.0 && std::isfinite(step), "ConvexPolyedron::computeVolume : Bad step.");
    for (int i = 0; i < 3; ++i) {
        double const steps = std::trunc((max[i] - min[i]) * (1.0 / step));
        require(steps < mostPointsOfAxis, tooSmall);
        _nominalCount *= steps + 1.0;
    }
    require(_nominalCount <= mostPoints, tooSmall);
    for (int i = 0; i < 3; ++i) _axes[i] = axisPoints(min[i], max[i], step);
}

template <int axis>
std::uint64_t BoxGrid::countRows(std::vector<CornerTest> const& tests, double tolerance) const
{
    constexpr int u = (axis + 1) % 3;
    constexpr int v = (axis + 2) % 3;
    std::uint64_t count = 0;
    Vec3 p = {};
    for (double const pu : _axes[u]) {
        p[u] = pu;
        for (double const pv : _axes[v]) {
            p[v] = pv;
            count += countRow<axis>(tests, tolerance, _axes[axis], _step, p);
        }
    }
    return count;
}

std::uint64_t BoxGrid::countInside(std::vector<HalfSpace> const& planes, double tolerance,
                                   double halfCell) const
{
    std::vector<CornerTest> const tests = cornerTests(planes, halfCell);
    auto const* const longest = std::max_element(
        _axes, _axes + 3, [](auto const& a, auto const& b) { return a.size() < b.size(); });
    switch (longest - _axes) {
        case 0:
            return countRows<0>(tests, tolerance);
        case 1:
            return countRows<1>(tests, tolerance);
        default:
            return countRows<2>(tests, tolerance);
    }
}

}  // namespace measuremath
