#include "math/internal/CylinderFit.h"

#include "math/LinearAlgebra.h"
#include "math/internal/Constants.h"
#include "math/internal/Vec3.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace measuremath {
namespace {

constexpr std::size_t nbConstraints = 2;
constexpr std::size_t mostSearched = 100;  // points that the search for the direction looks at

struct Cylinder {
    Vec3 p, d;
    double r;

    explicit Cylinder(Vector const& params)
        : p{{params[0], params[1], params[2]}},
          d{{params[3], params[4], params[5]}},
          r(params[6])
    {
    }
};

// A point seen from a cylinder: its foot's parameter t along d, and the offset e from the axis.
struct Offset {
    double t;
    Vec3 e;

    Offset(Cylinder const& c, Vec3 const& x)
    {
        Vec3 const q = x - c.p;
        t = dot(q, c.d) / dot(c.d, c.d);
        e = q - t * c.d;
    }
};

Vec3 pointOf(NormalisedPoints const& points, std::size_t i)
{
    return {{points.coordinate(0)[i], points.coordinate(1)[i], points.coordinate(2)[i]}};
}

// All points, or as many as are searched, evenly spaced.
std::vector<Vec3> searched(NormalisedPoints const& points)
{
    std::size_t const step = (points.size() + mostSearched - 1) / mostSearched;
    std::vector<Vec3> result;
    for (std::size_t i = 0; i < points.size(); i += step) result.push_back(pointOf(points, i));
    return result;
}

// The cylinder along a direction whose circle fits the projected points best.
struct Candidate {
    Vec3 d;
    Vec3 p = {};
    double r = 0.0;
    double error = std::numeric_limits<double>::infinity();  // about the sum of squared distances
};

// Any two unit vectors that complete the unit vector d to a frame.
std::pair<Vec3, Vec3> crossAxes(Vec3 const& d)
{
    int const i = largestComponent(d);
    int const j = (i + 1) % 3;
    double const length = std::sqrt(d[i] * d[i] + d[j] * d[j]);
    Vec3 u = {};
    u[i] = -d[j] / length;
    u[j] = d[i] / length;
    return {u, cross(d, u)};
}

// Least algebraic distances |q - c|² - r² of the projected points q, about their mean.
Candidate alongDirection(std::vector<Vec3> const& points, Vec3 const& d)
{
    std::size_t const n = points.size();
    auto const [u, v] = crossAxes(d);
    std::array<double, mostSearched> a, b;
    double mu = 0.0, mv = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        mu += a[i] = dot(points[i], u);
        mv += b[i] = dot(points[i], v);
    }
    mu /= static_cast<double>(n);
    mv /= static_cast<double>(n);
    double uu = 0.0, uv = 0.0, vv = 0.0, gu = 0.0, gv = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        a[i] -= mu;
        b[i] -= mv;
        double const g = 0.5 * (a[i] * a[i] + b[i] * b[i]);
        uu += a[i] * a[i];
        uv += a[i] * b[i];
        vv += b[i] * b[i];
        gu += a[i] * g;
        gv += b[i] * g;
    }
    Candidate result = {d};
    double const det = uu * vv - uv * uv;
    if (!(det > 1e-14 * (uu + vv) * (uu + vv))) return result;  // seen as a line

    double const cu = (gu * vv - gv * uv) / det, cv = (gv * uu - gu * uv) / det;
    double const squaredRadius = cu * cu + cv * cv + (uu + vv) / static_cast<double>(n);
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        double const du = a[i] - cu, dv = b[i] - cv;
        double const algebraic = du * du + dv * dv - squaredRadius;
        sum += algebraic * algebraic;
    }
    result.p = (mu + cu) * u + (mv + cv) * v;
    result.r = std::sqrt(squaredRadius);
    result.error = sum / (4.0 * squaredRadius);
    return result;
}

constexpr int nbDirections = 200;
constexpr double gridStep = 0.18;    // about the angle between neighbours
constexpr double finestStep = 1e-7;  // radians; below the noise of any measured sample
constexpr std::size_t nbDescents = 3;
constexpr int mostSteps = 2000;  // in a narrow valley the rest is better left to the fit

// Evenly over a hemisphere, along a golden-angle spiral.
Vec3 gridDirection(int i)
{
    constexpr double goldenAngle = 2.399963229728653;
    double const z = (i + 0.5) / nbDirections;
    double const rho = std::sqrt(1.0 - z * z);
    return {{rho * std::cos(goldenAngle * i), rho * std::sin(goldenAngle * i), z}};
}

// The best few directions of the grid that are no neighbours.
std::vector<Candidate> gridMinima(std::vector<Vec3> const& points)
{
    std::vector<Candidate> all;
    all.reserve(nbDirections);
    for (int i = 0; i < nbDirections; ++i) all.push_back(alongDirection(points, gridDirection(i)));
    std::sort(all.begin(), all.end(),
              [](Candidate const& a, Candidate const& b) { return a.error < b.error; });
    std::vector<Candidate> best;
    for (Candidate const& c : all) {
        bool const isNew = std::none_of(best.begin(), best.end(), [&c](Candidate const& b) {
            return std::abs(dot(b.d, c.d)) > std::cos(2.0 * gridStep);
        });
        if (isNew) best.push_back(c);
        if (best.size() == nbDescents) break;
    }
    return best;
}

// Walks towards the nearest minimum by steps to four sides that halve where none improves.
Candidate descended(std::vector<Vec3> const& points, Candidate best)
{
    double step = gridStep / 2.0;
    for (int k = 0; k < mostSteps && step > finestStep; ++k) {
        auto const [u, v] = crossAxes(best.d);
        Candidate next = best;
        for (Vec3 const& side : {u, v, -1.0 * u, -1.0 * v}) {
            Vec3 const d = best.d + step * side;
            Candidate const c = alongDirection(points, d / norm(d));
            if (c.error < next.error) next = c;
        }
        if (next.error < best.error)
            best = next;
        else
            step /= 2.0;
    }
    return best;
}

bool spansSpace(NormalisedPoints const& points)
{
    Matrix moments(3, 3);
    for (std::size_t i = 0; i < points.size(); ++i)
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                moments[r][c] += pointOf(points, i)[r] * pointOf(points, i)[c];
    Vector values(3);
    Matrix vectors(3, 3);
    if (!eigenValuesVectors(moments, values, vectors)) return false;
    double const rounding = 10.0 * std::max(points.resolution(), machineEpsilon);
    return values[0] > std::max(rounding * rounding, 1e-15) * values[2];
}

}  // namespace

void CylinderCostFun::setPoints(NormalisedPoints points)
{
    _points = std::move(points);
    initCostFun(static_cast<unsigned int>(_points.size() + nbConstraints), 7);
}

void CylinderCostFun::computeFunValue(Vector const& params)
{
    double* const r = _funValue.begin();
    std::size_t const n = _points.size();
    cylinderResiduals(_points.coordinate(0), _points.coordinate(1), _points.coordinate(2), n,
                      params, r);
    Cylinder const c(params);
    r[n] = dot(c.d, c.d) - 1.0;
    r[n + 1] = dot(c.p, c.d);
}

// The distance changes by -e/|e| with p and by t times that with d.
void CylinderCostFun::computeAnaJacValue(Vector const& params)
{
    Cylinder const c(params);
    double* row = _jacValue.begin();
    for (std::size_t i = 0; i < _points.size(); ++i, row += 7) {
        Offset const offset(c, pointOf(_points, i));
        double const length = norm(offset.e);
        for (int k = 0; k < 3; ++k) {
            row[k] = length > 0.0 ? -offset.e[k] / length : 0.0;
            row[3 + k] = offset.t * row[k];
        }
        row[6] = -1.0;
    }
    for (int k = 0; k < 3; ++k) {
        row[3 + k] = 2.0 * c.d[k];
        row[7 + k] = c.d[k];
        row[10 + k] = c.p[k];
    }
}

Vector algebraicCylinder(NormalisedPoints const& points)
{
    if (!(points.resolution() < 1.0) || !spansSpace(points)) return Vector();
    std::vector<Vec3> const some = searched(points);
    Candidate best = {};
    for (Candidate const& c : gridMinima(some)) {
        Candidate const refined = descended(some, c);
        if (refined.error < best.error) best = refined;
    }
    if (!std::isfinite(best.error)) return Vector();
    return Vector::of({best.p[0], best.p[1], best.p[2], best.d[0], best.d[1], best.d[2], best.r});
}

void standardiseCylinder(Vector& params)
{
    Cylinder c(params);
    double const length = norm(c.d);
    c.d = c.d / (c.d[largestComponent(c.d)] < 0.0 ? -length : length);
    c.p = c.p - dot(c.p, c.d) * c.d;
    params = Vector::of({c.p[0], c.p[1], c.p[2], c.d[0], c.d[1], c.d[2], std::abs(c.r)});
}

void denormaliseCylinder(NormalisedPoints const& points, double variance, Vector& params,
                         Matrix& cov)
{
    Vec3 const d = Cylinder(params).d;
    double const s = points.scale();
    double const units[] = {s, s, s, 1.0, 1.0, 1.0, s};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            cov[i][j] -= variance * d[i] * d[j];
            cov[3 + i][3 + j] -= 0.25 * variance * d[i] * d[j];
        }
    }
    for (int i = 0; i < 7; ++i) {
        params[i] *= units[i];
        for (int j = 0; j < 7; ++j) cov[i][j] *= units[i] * units[j];
    }
    params(0, params(0, 3) + points.origin());
}

void cylinderResiduals(double const* x, double const* y, double const* z, std::size_t n,
                       Vector const& params, double* residuals)
{
    Cylinder const c(params);
    Vec3 const d = c.d / norm(c.d);
    for (std::size_t i = 0; i < n; ++i) {
        double const qx = x[i] - c.p[0], qy = y[i] - c.p[1], qz = z[i] - c.p[2];
        double const t = qx * d[0] + qy * d[1] + qz * d[2];
        double const ex = qx - t * d[0], ey = qy - t * d[1], ez = qz - t * d[2];
        residuals[i] = std::sqrt(ex * ex + ey * ey + ez * ez) - c.r;
    }
}

}  // namespace measuremath
