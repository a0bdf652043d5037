#include "math/internal/EdgeClipper.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace measuremath {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// Rounding of a value n·p + d relative to d: 2^4 units of 2^-53, where 5 would do.
constexpr double valueRounding = 0x1p-49;

// What a solution by LU factors leaves of three planes, relative to the longest normal: theory has
// 324 units of 2^-53. The line of two planes is known better than that, and the two together hold
// the solution to it. With a factor of 4 to spare this makes 2^12 units.
constexpr double solutionRounding = 0x1p-41;

// Beyond this the first-order bounds lose their meaning.
constexpr double mostUncertainty = 0x1p-10;

// Two pairs that overlap: {0, infinity} spares the second side, {infinity, 0} the first.
constexpr double spare[] = {0.0, infinity, 0.0};

}  // namespace

EdgeClipper::EdgeClipper(std::vector<HalfSpace> const& planes, double tolerance)
{
    double shortest = infinity, longest = 0.0;
    _faces.reserve(planes.size());
    for (HalfSpace const& h : planes) {
        Vec3 const n = {{h.plane[0], h.plane[1], h.plane[2]}};
        double const length = norm(n);  // 0 makes a face of NaN, which clips nothing
        double const d = h.plane[3] / length;
        double const room = tolerance / length;
        double const rounding = valueRounding * std::abs(d);
        _faces.push_back(
            {n / length, d, room - d + valueRounding * std::abs(room) + rounding, -d - rounding});
        if (length == 0.0) continue;
        shortest = std::min(shortest, length);
        longest = std::max(longest, length);
    }
    _uncertainty = solutionRounding * (longest / shortest);
    _clippers.resize(planes.size());
    std::iota(_clippers.begin(), _clippers.end(), std::size_t{0});
}

void EdgeClipper::thirdPlanes(std::size_t i, std::size_t j, std::vector<std::size_t>& thirds)
{
    thirds.clear();
    Face const& f = _faces[i];
    Face const& g = _faces[j];
    std::optional<Edge> const e = edge(f, g);
    if (e && e->isEmpty()) return;
    for (std::size_t k = j + 1; k < _faces.size(); ++k)
        if (e ? touches(*e, _faces[k]) : mayMeet(f, g, _faces[k])) thirds.push_back(k);
}

// For faces f and g too nearly parallel to have a well-known line: each may have one with h.
bool EdgeClipper::mayMeet(Face const& f, Face const& g, Face const& h)
{
    if (auto const e = edge(f, h)) return touches(*e, g);
    if (auto const e = edge(g, h)) return touches(*e, f);
    return true;
}

// The line of two faces, clipped; nothing when it is not well known.
std::optional<EdgeClipper::Edge> EdgeClipper::edge(Face const& f, Face const& g)
{
    Vec3 const dir = cross(f.n, g.n);
    double const sine2 = dot(dir, dir);
    double const uncertainty = _uncertainty / sine2;
    if (!(uncertainty < mostUncertainty)) return std::nullopt;

    double const scale = 1.0 / sine2;
    Vec3 const point = scale * cross(g.d * f.n - f.d * g.n, dir);
    double const reach = std::abs(point[0]) + std::abs(point[1]) + std::abs(point[2]);
    Edge e = {point, std::sqrt(scale) * dir, reach, uncertainty, -infinity, infinity};
    clip(e);
    return e;
}

void EdgeClipper::clip(Edge& e)
{
    Vec3 const dir = e.dir, point = e.point;
    double const uncertainty = e.uncertainty;
    double const slack = uncertainty * e.reach;
    double ahead = infinity, behind = infinity;  // how far the edge goes along dir and against it
    for (auto clipper = _clippers.begin(); clipper != _clippers.end(); ++clipper) {
        Face const& f = _faces[*clipper];
        double const slope = dot(f.n, dir);
        double const steepness = std::abs(slope);
        if (!(steepness > uncertainty)) continue;

        // slope·t <= left + uncertainty·|t| bounds t on the side to which the slope rises. The other
        // side is spared without a branch, which would be mispredicted half of the time.
        double const left = f.most + slack - dot(f.n, point);
        double const bound = left / (steepness - std::copysign(uncertainty, left));
        double const* const other = spare + std::signbit(slope);
        ahead = std::min(ahead, bound + other[0]);
        behind = std::min(behind, bound + other[1]);
        if (ahead + behind < 0.0) {
            // What cut off this line will cut off the next ones.
            std::rotate(_clippers.begin(), clipper, clipper + 1);
            break;
        }
    }
    e.low = -behind;
    e.high = ahead;
}

// The value of the plane, raised by its uncertainty, is convex along the edge: below 0 at both ends
// means below 0 all along.
bool EdgeClipper::touches(Edge const& e, Face const& f)
{
    double const slope = dot(f.n, e.dir);
    double const above = dot(f.n, e.point) - f.least + e.uncertainty * e.reach;
    auto const isBelow = [&](double t) {
        return above + t * (slope + std::copysign(e.uncertainty, t)) < 0.0;
    };
    return !e.isEmpty() && !(isBelow(e.low) && isBelow(e.high));
}

}  // namespace measuremath
