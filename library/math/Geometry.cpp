#include "math/Geometry.h"

#include "math/MathError.h"
#include "math/internal/Vec3.h"

#include <cmath>

using measuremath::require;
using measuremath::toVec3;
using measuremath::Vec3;

namespace {

constexpr double halfPi = 1.5707963267948966;

// Divides rather than multiplies by the reciprocal, which overflows for the shortest vectors. The
// place is that of the caller.
Vec3 unit(Vec3 const& v, char const* nullMessage, int line = __builtin_LINE())
{
    double const length = norm(v);
    require(length != 0.0, nullMessage, line);
    return v / length;
}

// y·cos θ - x·sin θ: the offset of the line of direction θ through the point (x, y).
double polarOffset(double theta, Vector const& point)
{
    return std::cos(theta) * point[1] - std::sin(theta) * point[0];
}

}  // namespace

double pointToLine3DDist(Vector const& linePoint, Vector const& lineDir, Vector const& point)
{
    require(linePoint.size() == 3 && lineDir.size() == 3, "Invalid Line vector size");
    require(point.size() == 3, "Invalid Point vector size");
    Vec3 const u = unit(toVec3(lineDir), "Invalid Line direction vector, should not be null");

    return norm(cross(toVec3(point) - toVec3(linePoint), u));
}

void computePolarLine(Vector const& p1, Vector const& p2, double& theta, double& rho)
{
    require(p1.size() == 2 && p2.size() == 2, "Invalid vector size");

    double const dx = p1[0] - p2[0];
    theta = dx == 0.0 ? halfPi : std::atan((p1[1] - p2[1]) / dx);
    rho = polarOffset(theta, p1);
}

double pointToPolarLineDist(double theta, double rho, Vector const& point)
{
    require(point.size() == 2, "Invalid vector size");

    return std::abs(polarOffset(theta, point) - rho);
}

bool planLineIntersection(Vector const& planPoint, Vector const& planNormal,
                          Vector const& linePoint, Vector const& lineDir, Vector& intersection)
{
    require(planPoint.size() == 3 && planNormal.size() == 3, "Invalid Plan vector size");
    require(linePoint.size() == 3 && lineDir.size() == 3, "Invalid Line vector size");
    require(intersection.size() == 3, "Invalid Point vector size");
    Vec3 const n = unit(toVec3(planNormal), "Invalid plane normal vector, should not be null");
    Vec3 const d = unit(toVec3(lineDir), "Invalid line direction vector, should not be null");

    double const den = dot(n, d);
    if (den == 0.0) return false;
    Vec3 const start = toVec3(linePoint);
    double const lambda = -dot(start - toVec3(planPoint), n) / den;
    store(start + lambda * d, intersection);
    return true;
}
