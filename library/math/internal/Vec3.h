#pragma once

#include "math/Vector.h"
#include "math/internal/Elementwise.h"

#include <algorithm>
#include <cmath>

/// Points and directions of 3-space as plain values, for the arithmetic inside the library.
namespace measuremath {

struct Vec3 {
    double v[3];

    double operator[](int i) const { return v[i]; }
    double& operator[](int i) { return v[i]; }
};

inline Vec3 operator+(Vec3 const& a, Vec3 const& b)
{
    return {{a[0] + b[0], a[1] + b[1], a[2] + b[2]}};
}

inline Vec3 operator-(Vec3 const& a, Vec3 const& b)
{
    return {{a[0] - b[0], a[1] - b[1], a[2] - b[2]}};
}

inline Vec3 operator*(double s, Vec3 const& a)
{
    return {{s * a[0], s * a[1], s * a[2]}};
}

inline Vec3 operator/(Vec3 const& a, double s)
{
    return {{a[0] / s, a[1] / s, a[2] / s}};
}

inline double dot(Vec3 const& a, Vec3 const& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

inline Vec3 cross(Vec3 const& a, Vec3 const& b)
{
    return {{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]}};
}

/// Euclidean norm, without overflow or underflow on the way.
inline double norm(Vec3 const& a)
{
    return norm(a.v, 3);
}

/// Index of the component of largest magnitude, the first one on ties.
inline int largestComponent(Vec3 const& a)
{
    int largest = 0;
    for (int i = 1; i < 3; ++i)
        if (std::abs(a[i]) > std::abs(a[largest])) largest = i;
    return largest;
}

/// The first three elements.
inline Vec3 toVec3(Vector const& a)
{
    double const* const p = a.begin();
    return {{p[0], p[1], p[2]}};
}

/// Overwrites the first three elements.
inline void store(Vec3 const& a, Vector& out)
{
    std::copy(a.v, a.v + 3, out.begin());
}

}  // namespace measuremath
