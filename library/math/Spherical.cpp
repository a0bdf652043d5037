#include "math/Spherical.h"

#include "math/internal/Constants.h"
#include "math/internal/Elementwise.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <initializer_list>
#include <numbers>

namespace {

using measuremath::machineEpsilon;
using std::numbers::pi;

constexpr double poleGain = 10000;  // stands for the infinite derivative of φ on a pole

struct Direction {
    double x, y, z;
};

Direction directionOf(Vector const& v)
{
    assert(v.size() >= 3);
    double const* const p = v.begin();
    return {p[0], p[1], p[2]};
}

struct Trigonometry {
    double sPhi, cPhi, sTheta, cTheta;
};

Trigonometry trigonometryOf(Vector const& s)
{
    assert(s.size() >= 2);
    double const* const p = s.begin();
    return {std::sin(p[0]), std::cos(p[0]), std::sin(p[1]), std::cos(p[1])};
}

void setAngles(Vector& s, double phi, double theta)
{
    assert(s.size() >= 2);
    double* const out = s.begin();
    out[0] = phi;
    out[1] = theta;
}

void setDirection(Vector& v, Direction const& d)
{
    assert(v.size() >= 3);
    double* const out = v.begin();
    out[0] = d.x;
    out[1] = d.y;
    out[2] = d.z;
}

// The angle of atan2 as a full turn, [0, 2π]. Equals the arc cosine with its fix-up for negative
// `y`, without that function's loss of half the digits near 0 and π.
double fullTurnAngle(double y, double x)
{
    double const angle = std::atan2(y, x);
    return y < 0 ? 2 * pi + angle : std::abs(angle);
}

void setRow(Matrix& J, int i, std::initializer_list<double> row)
{
    assert(i < J.getRow() && static_cast<int>(row.size()) <= J.getCol());
    std::copy(row.begin(), row.end(), J[i]);
}

}  // namespace

void cartToSph(Vector const& v, Vector& s)
{
    auto [x, y, z] = directionOf(v);
    double const length = measuremath::norm(v.begin(), 3);
    if (length != 1.0) {  // divided one by one: the reciprocal would miss exact poles
        x /= length;
        y /= length;
        z /= length;
    }
    if (z == 1.0 || std::abs(z) > 1.0)
        setAngles(s, 0, 0);
    else if (z == -1.0)
        setAngles(s, 0, pi);
    else
        setAngles(s, fullTurnAngle(y, x), std::atan2(std::hypot(x, y), z));
}

void sphToCart(Vector const& s, Vector& v)
{
    auto const [sPhi, cPhi, sTheta, cTheta] = trigonometryOf(s);
    setDirection(v, {cPhi * sTheta, sPhi * sTheta, cTheta});
}

void cartToSphParticular(Vector const& v, Vector& s)
{
    auto const [x, y, z] = directionOf(v);
    double const rho = std::hypot(z, x);
    if (!(rho <= machineEpsilon))
        setAngles(s, fullTurnAngle(x, z), std::atan2(-y, rho));
    else if (y != 0)
        setAngles(s, 0, y > 0 ? -pi / 2 : pi / 2);
}

void sphToCartParticular(Vector const& s, Vector& v)
{
    auto const [sPhi, cPhi, sTheta, cTheta] = trigonometryOf(s);
    setDirection(v, {sPhi * cTheta, -sTheta, cPhi * cTheta});
}

void computeJSph(Vector const& v, Matrix& J)
{
    auto const [x, y, z] = directionOf(v);
    if (std::abs(x) <= machineEpsilon && std::abs(y) <= machineEpsilon) {
        setRow(J, 0, {-poleGain, poleGain, 0});
        setRow(J, 1, {1 / z, 1 / z, 0});
        return;
    }
    double const rho2 = x * x + y * y;
    double const rho = std::sqrt(rho2);
    double const r2 = rho2 + z * z;
    setRow(J, 0, {-y / rho2, x / rho2, 0});
    setRow(J, 1, {z * x / (r2 * rho), z * y / (r2 * rho), -rho / r2});
}

void computeJCart(Vector const& s, Matrix& J)
{
    auto const [sPhi, cPhi, sTheta, cTheta] = trigonometryOf(s);
    setRow(J, 0, {-sTheta * sPhi, cTheta * cPhi});
    setRow(J, 1, {sTheta * cPhi, cTheta * sPhi});
    setRow(J, 2, {0, -sTheta});
}

void computeJSphParticular(Vector const& v, Matrix& J)
{
    auto const [x, y, z] = directionOf(v);
    if (std::abs(x) <= machineEpsilon && std::abs(z) <= machineEpsilon) {
        setRow(J, 0, {poleGain, 0, -poleGain});
        setRow(J, 1, {1 / y, 0, 1 / y});
        return;
    }
    double const rho2 = z * z + x * x;
    double const rho = std::sqrt(rho2);
    double const r2 = y * y + rho2;
    setRow(J, 0, {z / rho2, 0, -x / rho2});
    setRow(J, 1, {y * x / (r2 * rho), -rho / r2, z * y / (r2 * rho)});
}

void computeJCartParticular(Vector const& s, Matrix& J)
{
    auto const [sPhi, cPhi, sTheta, cTheta] = trigonometryOf(s);
    setRow(J, 0, {cTheta * cPhi, -sTheta * sPhi});
    setRow(J, 1, {0, -cTheta});
    setRow(J, 2, {-cTheta * sPhi, -sTheta * cPhi});
}
