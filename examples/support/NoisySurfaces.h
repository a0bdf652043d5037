#pragma once

#include "math/Random.h"
#include "math/Vector.h"

#include <cmath>

/// Made data: random points of surfaces about the origin, with noise of 0.01 on the radius, 3.
namespace noisy {

inline Vector onCircle()
{
    double const angle = vaUnif(3.141592653589793), radius = 3.0 + vaGauss(0.01);
    return Vector::of({radius * std::cos(angle), radius * std::sin(angle)});
}

/// The circle pressed to a semi-minor axis of 1.8, and turned.
inline Vector onEllipse()
{
    Vector const p = onCircle();
    return Vector::of({0.8 * p[0] - 0.36 * p[1], 0.6 * p[0] + 0.48 * p[1]});
}

inline Vector onSphere()
{
    Vector const p = onCircle();
    double const z = vaUnif(1.0), rho = std::sqrt(1.0 - z * z);
    return Vector::of({rho * p[0], rho * p[1], z * p.length()});
}

/// Half of a cylinder about the first axis, 8 long.
inline Vector onCylinder()
{
    Vector const p = onCircle();
    return Vector::of({vaUnif(4.0), std::abs(p[0]), p[1]});
}

}  // namespace noisy
