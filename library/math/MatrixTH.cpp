#include "math/MatrixTH.h"

#include "math/LinearAlgebra.h"
#include "math/internal/FixedSize.h"
#include "math/internal/Moments.h"
#include "math/internal/Product.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <utility>

using measuremath::require;

namespace {

constexpr char const* badIndex = "Invalid index value";
constexpr char const* eigenFailed = "Eigen Values/Vectors computation failed";

// A transform is 4 × 4 unless it was resized through its base.
template <class Transform>
auto elementsOf(Transform& m)
{
    require(m.getRow() == 4 && m.getCol() == 4, badIndex);
    return m.begin();
}

double const* coordinatesOf(Vector const& p)
{
    require(p.size() == 3, Vector::badDim);
    return p.begin();
}

[[gnu::always_inline]] inline void mapEach(double const* m, double* xyz, long long n)
{
    double const r00 = m[0], r01 = m[1], r02 = m[2], tx = m[3];
    double const r10 = m[4], r11 = m[5], r12 = m[6], ty = m[7];
    double const r20 = m[8], r21 = m[9], r22 = m[10], tz = m[11];
    for (long long i = 0; i < n; ++i, xyz += 3) {
        double const x = xyz[0], y = xyz[1], z = xyz[2];
        xyz[0] = r00 * x + r01 * y + r02 * z + tx;
        xyz[1] = r10 * x + r11 * y + r12 * z + ty;
        xyz[2] = r20 * x + r21 * y + r22 * z + tz;
    }
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void mapEachWide(double const* m, double* xyz, long long n)
{
    mapEach(m, xyz, n);
}
#endif

long long countUsed(bool const* used, long long n)
{
    if (used == nullptr) return n;
    return std::count(used, used + std::max(n, 0LL), true);
}

// The symmetric matrix whose largest eigenvector is the quaternion that best turns a into b, from
// S_jk = Σ a_j·b_k of centred points.
Matrix quaternionForm(Matrix const& S)
{
    double const xx = S[0][0], xy = S[0][1], xz = S[0][2];
    double const yx = S[1][0], yy = S[1][1], yz = S[1][2];
    double const zx = S[2][0], zy = S[2][1], zz = S[2][2];
    return Matrix::of({{xx + yy + zz, yz - zy, zx - xz, xy - yx},
                       {yz - zy, xx - yy - zz, xy + yx, zx + xz},
                       {zx - xz, xy + yx, -xx + yy - zz, yz + zy},
                       {xy - yx, zx + xz, yz + zy, -xx - yy + zz}});
}

MatrixR bestRotation(Matrix const& S)
{
    Vector values(4);
    Matrix vectors(4, 4);
    require(eigenValuesVectors(quaternionForm(S), values, vectors), eigenFailed);
    return MatrixR(Quaternion(vectors.getColVector(3)));
}

Vector towards(Vector const& side, Vector const& axis)
{
    return axis.dot(side) < 0 ? -axis : axis;
}

}  // namespace

MatrixTH::MatrixTH() : Matrix(4, 4, IDENTITY) {}

MatrixTH::MatrixTH(double const* p) : Matrix(p, 4, 4) {}

MatrixTH::MatrixTH(Matrix const& m) : Matrix(m)
{
    measuremath::requireDimensions(m, 4, 4);
}

MatrixTH::MatrixTH(Matrix&& m)
{
    measuremath::requireDimensions(m, 4, 4);
    Matrix::operator=(std::move(m));
}

MatrixTH::MatrixTH(double e0, double e1, double e2, double tx, double ty, double tz)
    : MatrixTH(Euler(e0, e1, e2), Vector::of({tx, ty, tz}))
{
}

MatrixTH::MatrixTH(MatrixR const& R, Vector const& t) : MatrixTH()
{
    setMatrixRot(R);
    setVectorPos(t);
}

MatrixTH::MatrixTH(Euler const& R, Vector const& t) : MatrixTH(MatrixR(R), t) {}

MatrixTH::MatrixTH(Quaternion const& R, Vector const& t) : MatrixTH(MatrixR(R), t) {}

MatrixTH::MatrixTH(VectorR const& R, Vector const& t) : MatrixTH(MatrixR(R), t) {}

MatrixTH& MatrixTH::operator=(Matrix const& m)
{
    measuremath::requireDimensions(m, 4, 4);
    Matrix::operator=(m);
    return *this;
}

void MatrixTH::setMatrixRot(MatrixR const& R)
{
    double* const m = elementsOf(*this);
    double const* const r = R.begin();
    for (std::ptrdiff_t i = 0; i < 3; ++i) std::copy_n(r + 3 * i, 3, m + 4 * i);
}

MatrixR MatrixTH::getMatrixRot() const
{
    double const* const m = elementsOf(*this);
    MatrixR R;
    double* const r = R.begin();
    for (std::ptrdiff_t i = 0; i < 3; ++i) std::copy_n(m + 4 * i, 3, r + 3 * i);
    return R;
}

void MatrixTH::setVectorPos(Vector const& t)
{
    assert(t.size() >= 3);
    double* const m = elementsOf(*this);
    double const* const p = t.begin();
    for (int i = 0; i < 3; ++i) m[4 * i + 3] = p[i];
}

Vector MatrixTH::getVectorPos() const
{
    double const* const m = elementsOf(*this);
    return Vector::of({m[3], m[7], m[11]});
}

Euler MatrixTH::getEuler() const
{
    return getMatrixRot().getEuler();
}

VectorR MatrixTH::getVectorR() const
{
    return getMatrixRot().getVectorR();
}

Quaternion MatrixTH::getQuaternion() const
{
    return getMatrixRot().getQuaternion();
}

MatrixTH MatrixTH::operator*(MatrixTH const& b) const
{
    Matrix product(4, 4, NO_INIT);
    measuremath::multiply(elementsOf(*this), elementsOf(b), product.begin(), 4, 4, 4);
    return product;
}

Matrix& MatrixTH::invert()
{
    double* const m = elementsOf(*this);
    double t[3];
    for (int i = 0; i < 3; ++i) t[i] = -(m[i] * m[3] + m[4 + i] * m[7] + m[8 + i] * m[11]);
    std::swap(m[1], m[4]);
    std::swap(m[2], m[8]);
    std::swap(m[6], m[9]);
    for (int i = 0; i < 3; ++i) m[4 * i + 3] = t[i];
    return *this;
}

Matrix MatrixTH::inverse() const
{
    MatrixTH result = *this;
    result.invert();
    return static_cast<Matrix const&>(result);
}

Vector MatrixTH::mapPoint(Vector const& p) const
{
    Vector result(coordinatesOf(p), 3);
    mapEach(elementsOf(*this), result.begin(), 1);
    return result;
}

void MatrixTH::mapPacked(double* xyz, long long n) const
{
    double const* const m = elementsOf(*this);
#if defined(__x86_64__)
    // Two thirds of the time for points in the cache, and the same results.
    if (__builtin_cpu_supports("avx2")) return mapEachWide(m, xyz, n);
#endif
    mapEach(m, xyz, n);
}

void MatrixTH::mapPoints(std::vector<Vector>& points) const
{
    double const* const m = elementsOf(*this);
    for (Vector const& p : points) require(p.size() == 3, Vector::badDim);
    for (Vector& p : points) mapEach(m, p.begin(), 1);
}

void MatrixTH::setAxes(Vector const& x, Vector const& y, Vector const& z, Vector const& origin)
{
    for (int i = 0; i < 3; ++i) {
        at(i, 0) = x[i];
        at(i, 1) = y[i];
        at(i, 2) = z[i];
        at(i, 3) = origin[i];
    }
}

void MatrixTH::init(Vector const& origin, Vector const& onX, Vector const& inPlane)
{
    require(origin.size() == 3, Vector::badDim);
    require(getRow() >= 3 && getCol() >= 4, badIndex);
    Vector x = onX - origin;
    x = x / x.length();
    Vector y = inPlane - origin;
    for (int pass = 0; pass < 2; ++pass) {  // twice, for points that are almost collinear
        y -= x * y.dot(x);
        y = y / y.length();
    }
    zeroed();
    setAxes(x, y, x.cross(y), origin);
    if (getRow() > 3) at(3, 3) = 1;
}

double MatrixTH::registerPoints(Vector const* a, Vector const* b, long long n, bool const* used,
                                bool noScale)
{
    require(countUsed(used, n) >= 3, "Number of matched points must exceed or equal 3");
    measuremath::PairMoments const pairs =
        measuremath::momentsOfPairs(a, b, static_cast<std::size_t>(n), used, Vector::badDim);
    MatrixR const R = bestRotation(pairs.products);
    require(noScale || pairs.spreadA > 0, "Matched points coincide, scale is undefined");
    double const s = noScale ? 1.0 : std::sqrt(pairs.spreadB / pairs.spreadA);
    Vector const t = pairs.meanB - s * (R * pairs.meanA);
    setMatrixRot(R);
    setVectorPos(t);
    return s;
}

void MatrixTH::alignWithAxes(Vector const* pts, long long n, Vector& eigenValues, long long index)
{
    require(n >= 3, "Vector number must exceed or equal 3");
    require(index >= 0 && index < n, "Bad index value");
    measuremath::Moments const points =
        measuremath::momentsOf(pts, static_cast<std::size_t>(n), 3, Vector::badDim);
    Vector const side = pts[index] - points.mean;

    Vector values(3);
    Matrix vectors(3, 3);
    bool const found = eigenValuesVectors(points.covariance, values, vectors);
    eigenValues = values;
    require(found, eigenFailed);
    Vector const x = towards(side, vectors.getColVector(2));
    Vector const y = towards(side, vectors.getColVector(1));
    setAxes(x, y, x.cross(y), points.mean);
}
