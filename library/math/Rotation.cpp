#include "math/Rotation.h"

#include "math/internal/Constants.h"
#include "math/internal/Elementwise.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace {

using std::numbers::pi;

constexpr double nearPi = 2.356194490192345;        // 3π/4
constexpr double smallAngle = 0.01698158191129618;  // 36/37 of a degree

// The leading 3 × 3 block of a matrix, its pointer taken once.
template <class Value>
struct Block {
    Value* first;
    std::ptrdiff_t stride;

    Value& operator()(int i, int j) const { return first[i * stride + j]; }
};

Block<double const> reading(Matrix const& m)
{
    assert(m.getRow() >= 3 && m.getCol() >= 3);
    return {m.begin(), m.getCol()};
}

Block<double> writing(Matrix& m)
{
    assert(m.getRow() >= 3 && m.getCol() >= 3);
    return {m.begin(), m.getCol()};
}

double const* reading(Vector const& v, [[maybe_unused]] int size)
{
    assert(v.getSize() >= size);
    return v.begin();
}

double* writing(Vector& v, [[maybe_unused]] int size)
{
    assert(v.getSize() >= size);
    return v.begin();
}

void scale(double* v, double factor)
{
    measuremath::transform(v, v, 3, [factor](double x) { return x * factor; });
}

struct Trigonometry {
    double s0, c0, s1, c1, s2, c2;
};

// Sines and cosines of three angles.
Trigonometry trigonometry(Vector const& angles)
{
    double const* const a = reading(angles, 3);
    return {std::sin(a[0]), std::cos(a[0]), std::sin(a[1]),
            std::cos(a[1]), std::sin(a[2]), std::cos(a[2])};
}

// From θ near π the antisymmetric part vanishes, and the axis comes from the diagonal
// R_ii = c + (1 - c)·axis_i², its sign from `sines` = 2·sin θ·axis.
void axisFromDiagonal(Block<double const> const& R, double c, double const* sines, double* axis)
{
    double const k = 1 - c;
    double squares[3];
    for (int i = 0; i < 3; ++i) squares[i] = std::abs((R(i, i) - c) / k);

    // Ties: y before z before x.
    int i = squares[0] <= squares[2] ? 2 : 0;
    if (squares[0] < squares[1]) i = squares[1] < squares[2] ? 2 : 1;

    axis[i] = std::sqrt(squares[i]);
    if (sines[i] <= 0) axis[i] = -axis[i];
    for (int const j : {(i + 1) % 3, (i + 2) % 3})
        axis[j] = (R(i, j) + R(j, i)) / (2 * k * axis[i]);
}

// The quaternion of R whose vector part is largest, or at least not small, in component i.
void quatFromDiagonal(Block<double const> const& R, int i, double* q)
{
    int const j = (i + 1) % 3;
    int const k = (i + 2) % 3;
    double const largest = std::sqrt(1 + R(i, i) - R(j, j) - R(k, k)) / 2;
    q[0] = (R(k, j) - R(j, k)) / (4 * largest);
    q[1 + i] = largest;
    q[1 + j] = (R(i, j) + R(j, i)) / (4 * largest);
    q[1 + k] = (R(i, k) + R(k, i)) / (4 * largest);
}

void quatFromTrace(Block<double const> const& R, double* q)
{
    double const scalar = std::sqrt(R(2, 2) + R(1, 1) + R(0, 0) + 1) / 2;
    q[0] = scalar;
    q[1] = (R(2, 1) - R(1, 2)) / (4 * scalar);
    q[2] = (R(0, 2) - R(2, 0)) / (4 * scalar);
    q[3] = (R(1, 0) - R(0, 1)) / (4 * scalar);
}

// Rounding may carry an element of a rotation matrix, or a quotient of two, beyond 1.
double boundedAsin(double x)
{
    return std::asin(std::clamp(x, -1.0, 1.0));
}

}  // namespace

void vectToQuat(double angle, Vector const& axis, Vector& quaternion)
{
    double const* const in = reading(axis, 3);
    double const x = in[0], y = in[1], z = in[2];
    double const s = std::sin(angle / 2);
    double* const q = writing(quaternion, 4);
    q[0] = std::cos(angle / 2);
    q[1] = s * x;
    q[2] = s * y;
    q[3] = s * z;
}

void quatToVect(Vector const& quaternion, double& angle, Vector& axis)
{
    double const* const q = reading(quaternion, 4);
    double const x = q[1], y = q[2], z = q[3];
    double const s = measuremath::norm(q + 1, 3);
    double const theta = 2 * std::atan2(s, q[0]);
    double* const out = writing(axis, 3);
    bool const hasAxis = theta != 0;
    out[0] = hasAxis ? x / s : 0;
    out[1] = hasAxis ? y / s : 1;
    out[2] = hasAxis ? z / s : 0;
    angle = theta;
}

void eulerToMatrix(Vector const& euler, Matrix& R)
{
    auto const [s0, c0, s1, c1, s2, c2] = trigonometry(euler);
    auto const m = writing(R);
    m(0, 0) = c1 * c0;
    m(0, 1) = s2 * s1 * c0 - c2 * s0;
    m(0, 2) = c2 * s1 * c0 + s2 * s0;
    m(1, 0) = c1 * s0;
    m(1, 1) = s2 * s1 * s0 + c2 * c0;
    m(1, 2) = c2 * s1 * s0 - s2 * c0;
    m(2, 0) = -s1;
    m(2, 1) = s2 * c1;
    m(2, 2) = c2 * c1;
}

void matrixToEuler(Matrix const& R, Vector& euler)
{
    auto const m = reading(R);
    double* const e = writing(euler, 3);
    bool const isGimbalLock = m(0, 0) == 0 && m(1, 0) == 0;
    if (isGimbalLock) {
        e[0] = 0;
        e[1] = std::atan2(-m(2, 0), m(0, 0));
        e[2] = std::atan2(e[1] <= 0 ? -m(0, 1) : m(0, 1), m(1, 1));
        return;
    }
    e[0] = std::atan2(m(1, 0), m(0, 0));
    double const c = std::cos(e[0]);
    double const s = std::sin(e[0]);
    e[1] = std::atan2(-m(2, 0), s * m(1, 0) + c * m(0, 0));
    e[2] = std::atan2(s * m(0, 2) - c * m(1, 2), c * m(1, 1) - s * m(0, 1));
}

void matrixToVect(Matrix const& R, Vector& r)
{
    auto const m = reading(R);
    double const c = (m(0, 0) + m(1, 1) + m(2, 2) - 1) / 2;
    double const sines[] = {m(2, 1) - m(1, 2), m(0, 2) - m(2, 0), m(1, 0) - m(0, 1)};
    double const twiceSine = measuremath::norm(sines, 3);
    double const theta = std::atan2(twiceSine / 2, c);

    double* const out = writing(r, 3);
    if (theta >= nearPi) {
        axisFromDiagonal(m, c, sines, out);
    } else if (theta <= measuremath::machineEpsilon) {
        std::fill_n(out, 3, 0.0);
    } else {
        for (int i = 0; i < 3; ++i) out[i] = sines[i] / twiceSine;
        if (theta <= smallAngle) scale(out, 1 / measuremath::norm(out, 3));
    }
    scale(out, theta);
}

void vectToMatrix(Vector const& r, Matrix& R)
{
    double const* const v = reading(r, 3);
    auto const m = writing(R);
    double const theta = measuremath::norm(v, 3);
    if (theta == 0) {  // kept: the other elements stay as the caller gave them
        m(0, 0) = m(1, 1) = m(2, 2) = 1;
        return;
    }
    double const u0 = v[0] / theta, u1 = v[1] / theta, u2 = v[2] / theta;
    double const c = std::cos(theta);
    double const s = std::sin(theta);
    double const C = 1 - c;
    m(0, 0) = (u0 * u0 - 1) * C + 1;
    m(1, 1) = (u1 * u1 - 1) * C + 1;
    m(2, 2) = (u2 * u2 - 1) * C + 1;
    m(0, 1) = C * u1 * u0 - s * u2;
    m(1, 0) = C * u1 * u0 + s * u2;
    m(0, 2) = C * u2 * u0 + s * u1;
    m(2, 0) = C * u2 * u0 - s * u1;
    m(1, 2) = C * u2 * u1 - s * u0;
    m(2, 1) = C * u2 * u1 + s * u0;
}

void dRotdEuler(Vector const& euler, Vector const& p, Matrix& J)
{
    auto const [s0, c0, s1, c1, s2, c2] = trigonometry(euler);
    double const* const in = reading(p, 3);
    double const p0 = in[0], p1 = in[1], p2 = in[2];
    auto const j = writing(J);
    j(0, 0) = (s2 * c0 - c2 * s1 * s0) * p2 - ((c2 * c0 + s2 * s1 * s0) * p1 + c1 * p0 * s0);
    j(0, 1) = ((c2 * p2 + s2 * p1) * c1 - s1 * p0) * c0;
    j(0, 2) = (s2 * s0 + c2 * s1 * c0) * p1 + (c2 * s0 - s2 * s1 * c0) * p2;
    j(1, 0) = c1 * p0 * c0 + (s2 * s0 + c2 * s1 * c0) * p2 + (s2 * s1 * c0 - c2 * s0) * p1;
    j(1, 1) = ((c2 * p2 + s2 * p1) * c1 - s1 * p0) * s0;
    j(1, 2) = (c2 * s1 * s0 - s2 * c0) * p1 - (c2 * c0 + s2 * s1 * s0) * p2;
    j(2, 0) = 0;
    j(2, 1) = -c1 * p0 - s2 * p1 * s1 - c2 * p2 * s1;
    j(2, 2) = c2 * p1 * c1 - s2 * p2 * c1;
}

void quatToMatrix(Vector const& quaternion, Matrix& R)
{
    double const* const q = reading(quaternion, 4);
    double const n = measuremath::dot(q, q, 4);
    double const f = n == 0 ? 0 : 2 / n;
    double const q0 = q[0], q1 = q[1], q2 = q[2], q3 = q[3];
    auto const m = writing(R);
    m(0, 0) = 1 - f * (q2 * q2 + q3 * q3);
    m(1, 1) = 1 - f * (q1 * q1 + q3 * q3);
    m(2, 2) = 1 - f * (q1 * q1 + q2 * q2);
    m(0, 1) = f * q1 * q2 - f * q3 * q0;
    m(1, 0) = f * q1 * q2 + f * q3 * q0;
    m(0, 2) = f * q1 * q3 + f * q2 * q0;
    m(2, 0) = f * q1 * q3 - f * q2 * q0;
    m(1, 2) = f * q2 * q3 - f * q1 * q0;
    m(2, 1) = f * q2 * q3 + f * q1 * q0;
}

void matrixToQuat(Matrix const& R, Vector& quaternion)
{
    auto const m = reading(R);
    double* const q = writing(quaternion, 4);
    if (m(0, 0) <= 0 && m(1, 1) - m(2, 2) <= 0)  // z wins every tie
        quatFromDiagonal(m, 2, q);
    else if (m(0, 0) >= 0 && m(1, 1) + m(2, 2) >= 0)
        quatFromTrace(m, q);
    else if (m(0, 0) >= 0)
        quatFromDiagonal(m, 0, q);
    else if (m(1, 1) - m(2, 2) >= 0)
        quatFromDiagonal(m, 1, q);
}

void azElRoToMatrix(Vector const& azElRo, Matrix& R)
{
    auto const [sa, ca, se, ce, sr, cr] = trigonometry(azElRo);
    auto const m = writing(R);
    m(0, 0) = cr * ca + sr * se * sa;
    m(0, 1) = cr * se * sa - sr * ca;
    m(0, 2) = ce * sa;
    m(1, 0) = cr * sa - sr * se * ca;
    m(1, 1) = -sr * sa - cr * se * ca;
    m(1, 2) = -ce * ca;
    m(2, 0) = sr * ce;
    m(2, 1) = cr * ce;
    m(2, 2) = -se;
}

void matrixToAzElRo(Matrix const& R, Vector& azElRo)
{
    auto const m = reading(R);
    double* const a = writing(azElRo, 3);
    double const elevation = boundedAsin(-m(2, 2));
    double const ce = std::cos(elevation);
    double const azimuth = boundedAsin(m(0, 2) / ce);
    double const roll = boundedAsin(m(2, 0) / ce);
    a[0] = (-1 / ce) * m(1, 2) >= 0 ? azimuth : pi - azimuth;
    a[1] = elevation;
    a[2] = m(2, 1) / ce < 0 ? pi - roll : roll;
}

void dEulerRotInvdEulerRot(Vector const& euler, Matrix& J)
{
    auto const [s0, c0, s1, c1, s2, c2] = trigonometry(euler);
    // Elements of R(e): A = R00, B = R01, D = -R11, E = R02, F = R12, G = R22.
    double const A = c1 * c0;
    double const B = c0 * s2 * s1 - c2 * s0;
    double const D = -s2 * s1 * s0 - c2 * c0;
    double const E = s2 * s0 + c2 * s1 * c0;
    double const F = c2 * s1 * s0 - s2 * c0;
    double const G = c2 * c1;
    double const k = 1 / (A * A + B * B);
    double const g = 1 / std::sqrt((1 - E) * (1 + E));
    double const h = 1 / (G * G + F * F);
    auto const j = writing(J);
    j(0, 0) = (D * A + c1 * s0 * B) * k;
    j(0, 1) = (B * s1 + A * s2 * c1) * c0 * k;
    j(0, 2) = k * E * A;
    j(1, 0) = F * g;
    j(1, 1) = -(G * c0) * g;
    j(1, 2) = g * B;
    j(2, 0) = E * h * G;
    j(2, 1) = (F * s1 + G * c1 * s0) * c2 * h;
    j(2, 2) = (D * G + F * s2 * c1) * h;
}
