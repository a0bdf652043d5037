#pragma once

#include "math/Conic.h"

#include <cmath>
#include <vector>

/// @file
/// Ellipses by their axes: (centre x, centre y, angle, semi-major axis, semi-minor axis).

/// Of a conic; throws for one that is no ellipse.
inline Vector axesOf(Vector const& conic)
{
    Vector axes;
    ellipticQuadToCartParams(conic, axes);
    return axes;
}

/// Distance of a point, to first order.
inline double distance(Vector const& axes, Vector const& p)
{
    double const c = std::cos(axes[2]), s = std::sin(axes[2]);
    double const u = c * (p[0] - axes[0]) + s * (p[1] - axes[1]);
    double const v = c * (p[1] - axes[1]) - s * (p[0] - axes[0]);
    return std::abs(std::hypot(u / axes[3], v / axes[4]) - 1.0) * std::sqrt(axes[3] * axes[4]);
}

/// The ellipse as a closed line.
inline std::vector<Vector> outline(Vector const& e)
{
    std::vector<Vector> points;
    for (int i = 0; i <= 72; ++i) {
        double const t = i * 3.141592653589793 / 36.0, u = e[3] * std::cos(t),
                     v = e[4] * std::sin(t);
        points.push_back(Vector::of({e[0] + u * std::cos(e[2]) - v * std::sin(e[2]),
                                     e[1] + u * std::sin(e[2]) + v * std::cos(e[2])}));
    }
    return points;
}
