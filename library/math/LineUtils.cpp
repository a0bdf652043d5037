#include "math/LineUtils.h"

#include "math/MathError.h"
#include "math/internal/DifferenceOfProducts.h"
#include "math/internal/Vec3.h"

using measuremath::differenceOfProducts;
using measuremath::require;
using measuremath::toVec3;
using measuremath::Vec3;

namespace {

constexpr char const* badSize = "Invalid parameter size";
constexpr char const* parallel = "Lines are parallel";
constexpr char const* nullDir = "Vector dir must not be null";

// One plane of a 3-D line: n·p + d = 0.
struct Plane {
    Vec3 n;
    double d;
};

bool isNull(Vec3 const& a)
{
    return a[0] == 0.0 && a[1] == 0.0 && a[2] == 0.0;
}

// True for the pairs (b1, c1) and (b2, c2) of two lines of one plane that are exactly parallel.
bool areParallel(double b1, double c1, double b2, double c2)
{
    return (b1 == 0.0 && b2 == 0.0) || (c1 == 0.0 && c2 == 0.0) ||
           (b2 != 0.0 && c2 != 0.0 && c1 / c2 == b1 / b2);
}

bool areParallel(Vec3 const& m, Vec3 const& n)
{
    if (m[0] != 0.0 && m[1] != 0.0 && m[2] != 0.0) {
        double const ratio = n[0] / m[0];
        if (n[1] / m[1] == ratio && n[2] / m[2] == ratio) return true;
    }
    for (int i = 0; i < 3; ++i) {
        int const j = (i + 1) % 3;
        int const k = (i + 2) % 3;
        if (m[i] == 0.0 && n[i] == 0.0 && areParallel(m[j], m[k], n[j], n[k])) return true;
    }
    return false;
}

Vec3 accurateCross(Vec3 const& a, Vec3 const& b)
{
    return {{differenceOfProducts(a[1], b[2], a[2], b[1]),
             differenceOfProducts(a[2], b[0], a[0], b[2]),
             differenceOfProducts(a[0], b[1], a[1], b[0])}};
}

}  // namespace

void lineIntersection(Vector const& line1, Vector const& line2, Vector& point)
{
    require(line1.size() == 3 && line2.size() == 3 && point.size() == 2, badSize);
    Vec3 const l = toVec3(line1);
    Vec3 const m = toVec3(line2);
    require(!areParallel(l[0], l[1], m[0], m[1]), parallel);

    // In homogeneous coordinates the point is l × m.
    Vec3 const p = accurateCross(l, m);
    require(p[2] != 0.0, parallel);
    point[0] = p[0] / p[2];
    point[1] = p[1] / p[2];
}

void ptDir2DToCart2D(Vector const& point, Vector const& dir, Vector& line)
{
    require(point.size() == 2 && dir.size() == 2 && line.size() == 3, badSize);
    require(dir.length() != 0.0, nullDir);

    double const x = point[0];
    double const y = point[1];
    double dx = (x + dir[0]) - x;
    double dy = (y + dir[1]) - y;
    if (dx == 0.0 && dy == 0.0) {  // too short to be seen beside the point's coordinates
        dx = dir[0];
        dy = dir[1];
    }
    bool const horizontal = dy == 0.0;
    double const a = horizontal ? 0.0 : 1.0;
    double const b = horizontal ? 1.0 : -dx / dy;
    store(Vec3{{a, b, -(a * x + b * y)}}, line);
}

void cart3DToPtDir3D(Vector const& planes, Vector& point, Vector& dir)
{
    require(planes.size() == 8 && point.size() == 3 && dir.size() == 3, badSize);
    Plane const p = {{{planes[0], planes[1], planes[2]}}, planes[3]};
    Plane const q = {{{planes[4], planes[5], planes[6]}}, planes[7]};
    require(!isNull(p.n) && !isNull(q.n), "No 3D line");
    require(!areParallel(p.n, q.n), parallel);
    Vec3 const direction = accurateCross(p.n, q.n);
    require(!isNull(direction), parallel);

    // With x_i = 1, Cramer's rule for x_j and x_k; the determinant is the largest of the three.
    int const i = largestComponent(direction);
    int const j = (i + 1) % 3;
    int const k = (i + 2) % 3;
    double const r = -(p.d + p.n[i]);
    double const s = -(q.d + q.n[i]);
    Vec3 x;
    x[i] = 1.0;
    x[j] = differenceOfProducts(r, q.n[k], s, p.n[k]) / direction[i];
    x[k] = differenceOfProducts(p.n[j], s, q.n[j], r) / direction[i];
    store(x, point);
    store(direction, dir);
}

void ptDir3DToCart3D(Vector const& point, Vector const& dir, Vector& planes)
{
    require(point.size() == 3 && dir.size() == 3 && planes.size() == 8, badSize);
    require(dir.length() != 0.0, nullDir);

    Vec3 const p = toVec3(point);
    Vec3 const u = toVec3(dir);
    int const i = largestComponent(u);
    double* out = planes.begin();
    for (int const j : {(i + 1) % 3, (i + 2) % 3}) {
        double const slope = u[j] / u[i];
        Vec3 normal = {};
        normal[i] = -slope;
        normal[j] = 1.0;
        out = std::copy(normal.v, normal.v + 3, out);
        *out++ = -dot(normal, p);
    }
}
