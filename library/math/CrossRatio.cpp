#include "math/CrossRatio.h"

#include "math/MathError.h"

#include <algorithm>

using measuremath::require;

namespace {

constexpr char const* badPoints = "Invalid cross Ratio points ";

// The place is that of the caller.
void requirePoints(Vector const& a, Vector const& b, Vector const& c, Vector const& d,
                   int line = __builtin_LINE())
{
    bool const isPoint = a.size() == 2 || a.size() == 3;
    require(isPoint && b.size() == a.size() && c.size() == a.size() && d.size() == a.size(),
            "Invalid vector size", line);
}

Vector const& longer(Vector const& u, Vector const& v)
{
    return u.length() < v.length() ? v : u;
}

}  // namespace

void pointFromCrossRatio(double k, Vector const& a, Vector const& b, Vector const& c, Vector& d)
{
    requirePoints(a, b, c, d);
    // Positions along u = b - a in units of its length: A = 0 and B = 1.
    Vector const u = b - a;
    double const ac = (c - a).dot(u);
    double const bc = (c - b).dot(u);
    double const den = ac - k * bc;
    require(den != 0.0, badPoints);

    Vector const result = a + ac / den * u;
    std::copy(result.begin(), result.end(), d.begin());
}

double crossRatioFromPoint(Vector const& a, Vector const& b, Vector const& c, Vector const& d)
{
    requirePoints(a, b, c, d);
    // Differences of points first, then their positions along the longest from a: close points
    // keep their digits.
    Vector const ab = b - a;
    Vector const ac = c - a;
    Vector const ad = d - a;
    Vector const& u = longer(longer(ab, ac), ad);
    double const bc = (c - b).dot(u);
    double const da = ad.dot(u);
    require(bc != 0.0 && da != 0.0, badPoints);

    return (ac.dot(u) / bc) * ((d - b).dot(u) / da);
}
