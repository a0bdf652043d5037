#include "math/Conic.h"

#include "math/LinearAlgebra.h"
#include "math/MathError.h"
#include "math/internal/DifferenceOfProducts.h"
#include "math/internal/Log.h"

#include <algorithm>
#include <cmath>
#include <utility>

using log4cplus::DEBUG_LOG_LEVEL;
using measuremath::differenceOfProducts;
using measuremath::log;
using measuremath::require;

namespace {

constexpr char const* invalidConic = "Can't processed decomposition, invalid conic";

// Slope of the major axis: the root of h·t² - m·t - h = 0 whose sign is that of -h, in the form
// that does not cancel.
double majorAxisSlope(double h, double m, double root)
{
    return m > 0.0 ? -2.0 * h / (m + root) : (m - root) / (2.0 * h);
}

Matrix homogeneousTranslation(Vector const& t)
{
    return Matrix::of({{1.0, 0.0, t[0]}, {0.0, 1.0, t[1]}, {0.0, 0.0, 1.0}});
}

// The eigenvectors of the symmetric 2 × 2 matrix `m` as the axes of a frame, the second one turned
// where needed so that the frame is right-handed.
Matrix homogeneousRotation(Matrix const& m)
{
    Vector eigenValues(2);
    Matrix axes(2, 2);
    require(eigenValuesVectors(m, eigenValues, axes), invalidConic);
    double const* const a = std::as_const(axes).begin();
    double const side = a[0] * a[3] - a[1] * a[2] < 0.0 ? -1.0 : 1.0;
    return Matrix::of({{a[0], side * a[1], 0.0}, {a[2], side * a[3], 0.0}, {0.0, 0.0, 1.0}});
}

}  // namespace

void ellipticQuadToCartParams(Vector const& quadParams, Vector& cartParams)
{
    Vector const q = quadParams;
    require(q.size() == 5, "Wrong size of quadParams, must be 5");
    require(q[1] != 0.0, "quadParams[1] must not be 0");

    // The matrix [1 h; h A] has the eigenvalues sum / 2 and D2 / 2. Their product is det, which
    // gives the small one without the cancellation in (A + 1) - root.
    double const A = q[0], h = q[1] / 2.0, d = q[2] / 2.0, e = q[3] / 2.0, F = q[4];
    double const det = differenceOfProducts(A, 1.0, h, h);
    double const m = A - 1.0;
    double const root = std::hypot(2.0 * h, m);
    double const sum = (A + 1.0) + root;
    double const D2 = 4.0 * det / sum;
    require(D2 > 0.0, "Wrong quadParams (D2<=0), check fonction definition");

    double const x0 = differenceOfProducts(e, h, d, A) / det;
    double const y0 = differenceOfProducts(d, h, e, 1.0) / det;
    // Minus the conic's value at the centre, where it is stationary: the centre's rounding hardly
    // counts.
    double const K = -((x0 + 2.0 * (h * y0 + d)) * x0 + (A * y0 + 2.0 * e) * y0 + F);
    require(K >= 0.0, "Wrong quadParams (K<0), check fonction definition");

    double const g = std::sqrt(2.0 * K);
    double const r1 = g / std::sqrt(sum);
    double const r2 = g / std::sqrt(D2);
    double const theta = r1 < r2 ? std::atan(majorAxisSlope(h, m, root)) : 0.0;
    double const params[] = {x0, y0, theta, std::max(r1, r2), std::min(r1, r2)};
    cartParams.initVector(params, 5);
}

void ellipticCartToQuadParams(Vector const& cartParams, Vector& quadParams)
{
    Vector const c = cartParams;
    require(c.size() == 5, "Wrong size of cartParams, must be 5");
    double const a = std::max(c[3], c[4]);
    double const b = std::min(c[3], c[4]);
    require(!(b < 0.0), "Wrong cartParams, semi-axes must not be negative");
    double const x0 = c[0], y0 = c[1], t = std::tan(c[2]);
    double const Q = a * a * t * t + b * b;
    require(Q != 0.0, "Wrong quadParams (Q=0), check fonction definition");

    double const k = 1.0 / Q;
    double const A = (b * b * t * t + a * a) * k;
    double const B = 2.0 * (b * b - a * a) * k * t;
    double const D = -2.0 * (x0 + y0 * B / 2.0);
    double const E = -2.0 * (y0 * A + x0 * B / 2.0);
    double const F = x0 * x0 + (y0 * A + x0 * B) * y0 - (t * t + 1.0) * k * b * b * a * a;
    double const params[] = {A, B, D, E, F};
    quadParams.initVector(params, 5);
}

void ellipseDecomposition(Vector const& quadParams, Matrix& translation, Matrix& rotation,
                          Matrix& scaling)
{
    Vector const q = quadParams;
    require(q.size() == 5, "Wrong size of ellipse parameters, must be 5");
    double const A = q[0], h = q[1] / 2.0, d = q[2] / 2.0, e = q[3] / 2.0, F = q[4];
    require(h * h - A < 0.0, "Can't processed : wrong ellipse parameters");

    Matrix const conic = Matrix::of({{1.0, h, d}, {h, A, e}, {d, e, F}});
    Matrix const quadratic = conic(0, 0, 2, 2);
    Vector const gradient = Vector::of({-d, -e});
    log(DEBUG_LOG_LEVEL, quadratic, gradient);

    Matrix const T = homogeneousTranslation(quadratic.inverse() * gradient);
    Matrix const R = homogeneousRotation(quadratic);
    // In the frame of the axes the conic is diag(d0, d1, -1) up to a factor.
    Matrix const frame = T * R;
    Vector const X = (frame.transpose() * conic * frame).getDiagVector();
    require(X[0] != 0.0 && X[1] != 0.0 && X[2] < 0.0, invalidConic);

    Matrix S(3, 3, Matrix::IDENTITY);
    for (int k = 0; k < 2; ++k) S[k][k] = std::sqrt(1.0 / std::abs(X[k] / -X[2]));
    log(DEBUG_LOG_LEVEL, "Translation matrix \n", T);
    log(DEBUG_LOG_LEVEL, "Rotation matrix \n", R);
    log(DEBUG_LOG_LEVEL, "Scaling matrix \n", S);
    translation = T;
    rotation = R;
    scaling = S;
}
