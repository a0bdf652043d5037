#pragma once

/// @file
/// Vectors and matrices as Eigen maps, without copies, and Eigen expressions as ours.
///
/// The library does not depend on Eigen: this header needs Eigen 3.3 or newer from whoever
/// includes it.
///
///     auto A = measuremath::asEigen(std::as_const(m));
///     Vector const x = measuremath::toVector(A.householderQr().solve(measuremath::asEigen(b)));
///
/// A map for writing un-shares the object first. It is valid until the object is next copied,
/// written through another name, or destroyed: a copy taken in between would share what the map
/// writes. A map for reading never copies and is valid until the next write.

#include "math/Matrix.h"
#include "math/Vector.h"

#include <Eigen/Core>

namespace measuremath {

/// Eigen's matrix in the storage order of `Matrix`.
using EigenMatrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

/// The elements of `v` as a column, for writing.
inline Eigen::Map<Eigen::VectorXd> asEigen(Vector& v)
{
    return {v.begin(), v.getSize()};
}
/// The elements of `v` as a column, for reading.
inline Eigen::Map<Eigen::VectorXd const> asEigen(Vector const& v)
{
    return {v.begin(), v.getSize()};
}

/// The elements of `m`, for writing.
inline Eigen::Map<EigenMatrix> asEigen(Matrix& m)
{
    return {m.begin(), m.getRow(), m.getCol()};
}
/// The elements of `m`, for reading.
inline Eigen::Map<EigenMatrix const> asEigen(Matrix const& m)
{
    return {m.begin(), m.getRow(), m.getCol()};
}

/// @name A map of a temporary would dangle
/// @{
Eigen::Map<Eigen::VectorXd const> asEigen(Vector const&& v) = delete;
Eigen::Map<EigenMatrix const> asEigen(Matrix const&& m) = delete;
/// @}

/// The values of an Eigen expression of double that is a column or a row when it is compiled; one
/// whose shape is known only at run time goes through `.col(0)` or `.row(0)`.
/// @throws MathError "Invalid array size" when they exceed 4 GiB.
template <class Derived>
Vector toVector(Eigen::MatrixBase<Derived> const& expression)
{
    static_assert(Derived::IsVectorAtCompileTime, "not known to be a column or a row");
    Vector v(expression.size(), Vector::NO_INIT);
    if constexpr (Derived::ColsAtCompileTime == 1) {
        asEigen(v).noalias() = expression;
    } else {
        asEigen(v).noalias() = expression.transpose();
    }
    return v;
}

/// The values of an Eigen expression of double, of either storage order.
/// @throws MathError "Invalid array size" when they exceed 4 GiB.
template <class Derived>
Matrix toMatrix(Eigen::MatrixBase<Derived> const& expression)
{
    Matrix m(expression.rows(), expression.cols(), Matrix::NO_INIT);
    asEigen(m).noalias() = expression;
    return m;
}

}  // namespace measuremath
