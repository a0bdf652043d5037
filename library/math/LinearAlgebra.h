#pragma once

/// @file
/// Decompositions and solvers of dense matrices over LAPACK.
///
/// In all of them A is m × n and k = min(m, n). Common to every function:
///
/// - The outputs must come with the size that the function states. Sizes are tested first, in the
///   order in which they are listed, and leave everything as it was when they fail.
/// - A matrix without elements returns at once after these tests, as a success; outputs keep what
///   they held.
/// - Inputs are not modified. An output may be an input, or share storage with one; others that
///   share storage with an output keep their values. Two outputs of one call must be two objects:
///   MathError "Output matrices must be distinct".
/// - A numerical failure (no convergence, singular, not positive definite) gives `false`, with the
///   outputs set to zero where nothing else is said. An input that holds an infinity or a NaN is
///   such a failure. `qrSolve`, `qr` and `lq` have no result to tell it and throw MathError
///   "Internal error, Lapack report invalid parameter value", the text for any argument that
///   LAPACK refuses.
/// - Signs of singular vectors, eigenvectors and columns of Q are LAPACK's.
///
/// The work grows as m·n·k; the routine behind each function is named with it. All are described in
/// E. Anderson et al., LAPACK Users' Guide, 3rd edition, 1999.

#include "math/Export.h"
#include "math/Matrix.h"
#include "math/Vector.h"

#include <climits>

/// @name Singular values
///
/// Singular values are never negative and come in non-increasing order, s[0] first. A condition
/// number is s[0] / s[k-1], or -1 when s[k-1] is 0, be it by truncation. A negative relative
/// tolerance stands for 2^-52.
/// @{

/// Thin decomposition A = U · diag(S) · Vᵀ (DGESVD).
///
/// @param[in]  A  any shape.
/// @param[out] U  m × k, orthonormal columns.
/// @param[out] S  k values.
/// @param[out] V  n × k, orthonormal columns: V itself, not its transpose.
/// @return false when the iteration does not converge.
/// @throws MathError "Invalid matrix U size", "Invalid matrix V size", "Invalid vector S size".
MEASUREMATH_API bool svd(Matrix const& A, Matrix& U, Vector& S, Matrix& V);

/// Full decomposition: as `svd` with square orthogonal U, m × m, and V, n × n. The columns from
/// number k on span the null spaces of Aᵀ and A.
/// @throws MathError "Invalid matrix U size", "Invalid matrix V size", "Invalid vector S size".
MEASUREMATH_API bool fullSvd(Matrix const& A, Matrix& U, Vector& S, Matrix& V);

/// Minimum-norm least-squares solution of A · x = b for m >= n (DGELSS).
///
/// @param[in]  b      m elements.
/// @param[out] x      n elements; left alone on failure.
/// @param[out] rank   number of singular values above rcond · s[0]; 0 on failure and when empty.
/// @param[out] cond   condition number; 1 on failure and when empty.
/// @param[in]  rcond  relative tolerance of the rank.
/// @throws MathError "Invalid matrix size, need m >= n", "Invalid vector B size",
///         "Invalid vector X size".
MEASUREMATH_API bool svdSolve(Matrix const& A, Vector const& b, Vector& x, unsigned int& rank,
                              double& cond, double rcond);

/// Unit vector x that minimises |A · x|, for m >= n: the right singular vector of the smallest
/// singular value (DGESVD).
///
/// @param[out] x      n elements.
/// @param[out] rank   number of singular values above max(rcond, rcond · s[0]), an absolute test
///                    too, unlike elsewhere; 0 for A = 0, on failure and when empty.
/// @param[out] cond   condition number of the values as they come; 1 on failure and when empty.
/// @param[in]  rcond  tolerance of the rank.
/// @throws MathError "Invalid matrix size, need m >= n", "Invalid vector X size".
MEASUREMATH_API bool svdSolve(Matrix const& A, Vector& x, unsigned int& rank, double& cond,
                              double rcond);

/// Truncates singular values: sets those to 0 that are not above relTol · s[0].
///
/// The scan runs from the end and stops at the first value above. `cond` becomes -1 as soon as a
/// value was cut. An empty `s` gives rank 0 and condition 1.
MEASUREMATH_API void singularValuesThreshold(Vector& s, unsigned int& rank, double& cond,
                                             double relTol);

/// Truncates singular values: sets the last `nbThresholded` to 0, a count of any integer type.
/// @throws MathError "Invalid nbThresholdedValues, value greater than vector s size".
MEASUREMATH_API void singularValuesThreshold(Vector& s, unsigned int& rank, double& cond,
                                             unsigned int nbThresholded);

/// Pseudo-inverse of A over the singular values that `singularValuesThreshold` leaves (DGESVD).
///
/// @param[out] invA    n × m.
/// @param[out] rank    number of singular values that count; left alone on failure and when empty.
/// @param[out] cond    condition number after the truncation; as `rank`.
/// @param[in]  relTol  relative tolerance of the truncation.
/// @throws MathError "Invalid matrix invA size".
MEASUREMATH_API bool svdInverse(Matrix const& A, Matrix& invA, unsigned int& rank, double& cond,
                                double relTol);

/// Pseudo-inverse of A without its `nbThresholded` smallest singular values, a count of any integer
/// type.
/// @throws MathError "Invalid matrix invA size"; "Invalid nbThresholdedValues, value greater than
///         vector s size" when it exceeds k, unless A is empty.
MEASUREMATH_API bool svdInverse(Matrix const& A, Matrix& invA, unsigned int& rank, double& cond,
                                unsigned int nbThresholded);

/// Pseudo-inverse V · diag(1 / S_i) · Uᵀ from a thin decomposition; values of exactly 0 drop out.
///
/// @param[in]  U, S, V  m × k, k and n × k, with k the smaller of the rows of U and of V.
/// @param[out] invA     n × m.
/// @throws MathError "Invalid matrix U size", "Invalid vector S size", "Invalid matrix V size",
///         "Invalid matrix invA size".
MEASUREMATH_API void svdInverse(Matrix const& U, Vector const& S, Matrix const& V, Matrix& invA);

/// Covariance (Aᵀ · A)⁻¹ = V · diag(1 / S_i²) · Vᵀ of the least-squares solution for errors of unit
/// variance; values of exactly 0 drop out.
///
/// @param[in]  S, V  n values and an n × n matrix.
/// @param[out] cov   n × n, symmetric to the last bit.
/// @throws MathError "Invalid matrix V size", "Invalid matrix Cov size".
MEASUREMATH_API void svdCovariance(Vector const& S, Matrix const& V, Matrix& cov);

/// @}
/// @name QR and LQ
/// @{

/// Least-squares solution of A · x = b for m >= n and A of full rank, which is not tested beyond
/// what LAPACK notices: use `svdSolve` where columns may depend on each other (DGELS).
///
/// @param[in]  b  m elements.
/// @param[out] x  n elements.
/// @throws MathError "Invalid matrix size, need m >= n", "Invalid vector B size",
///         "Invalid vector X size"; the LAPACK text when a diagonal element of R is exactly 0.
MEASUREMATH_API void qrSolve(Matrix const& A, Vector const& b, Vector& x);

/// Thin factors A = Q · R (DGEQRF, DORGQR).
///
/// @param[out] Q  m × k, orthonormal columns.
/// @param[out] R  k × n, upper triangular (trapezoidal for m < n).
/// @throws MathError "Invalid matrix Q size", "Invalid matrix R size"; "Matrix elements too large"
///         when the length of a column overflows.
MEASUREMATH_API void qr(Matrix const& A, Matrix& Q, Matrix& R);

/// Thin factors A = L · Q (DGELQF, DORGLQ).
///
/// @param[out] L  m × k, lower triangular (trapezoidal for m > n).
/// @param[out] Q  k × n, orthonormal rows.
/// @throws MathError "Invalid matrix L size", "Invalid matrix Q size"; "Matrix elements too large"
///         when the length of a row overflows.
MEASUREMATH_API void lq(Matrix const& A, Matrix& L, Matrix& Q);

/// @}
/// @name LU
/// @{

/// Solution of A · x = b for a square A, with partial pivoting (DGETRF, DGETRS).
/// @return false when a pivot is exactly 0.
/// @throws MathError "Invalid matrix size, need square matrix", "Invalid vector B size",
///         "Invalid vector X size".
MEASUREMATH_API bool luSolve(Matrix const& A, Vector const& b, Vector& x);

/// Replaces A by its inverse (DGETRF, DGETRI).
/// @return false when a pivot is exactly 0; A is zero then.
/// @throws MathError "Invalid matrix size, need square matrix".
MEASUREMATH_API bool luInverse(Matrix& A);

/// The inverse of A in `invA`; A itself is untouched.
/// @return false when a pivot is exactly 0.
/// @throws MathError "Invalid invA matrix size", "Invalid matrix size, need square matrix".
MEASUREMATH_API bool luInverse(Matrix const& A, Matrix& invA);

/// @}
/// @name Symmetric and positive definite matrices
///
/// Of A only the diagonal and what is above it are read.
/// @{

/// All eigenvalues and eigenvectors of a symmetric A (DSYEVR; DSYEV where the vectors of that
/// one are not orthogonal to rounding).
///
/// @param[out] eigenValues   n values, ascending.
/// @param[out] eigenVectors  n × n, orthonormal columns; column i belongs to value i.
/// @throws MathError "Matrix a should be square", "Invalid eigenValues vector size",
///         "Invalid eigenVectors matrix size".
MEASUREMATH_API bool eigenValuesVectors(Matrix const& A, Vector& eigenValues, Matrix& eigenVectors);

/// Solution of A · x = b for a positive definite A (DPOTRF, DPOTRS).
/// @throws MathError "Invalid matrix size, need square matrix", "Invalid vector B size",
///         "Invalid vector X size".
MEASUREMATH_API bool posDefSolve(Matrix const& A, Vector const& b, Vector& x);

/// Cholesky factor of a positive definite A = Uᵀ · U, with U upper triangular (DPOTRF).
/// @throws MathError "Invalid matrix size, need square matrix", "Invalid U matrix size".
MEASUREMATH_API bool posDefDecomp(Matrix const& A, Matrix& U);

/// Inverse of a positive definite A, symmetric to the last bit (DPOTRF, DPOTRI).
/// @throws MathError "Invalid matrix size, need square matrix", "Invalid invA matrix size".
MEASUREMATH_API bool posDefInverse(Matrix const& A, Matrix& invA);

/// @}

// Implementation: counts of the other integer types.

namespace measuremath {

/// `n`, or where `unsigned int` does not hold it the largest one, which no vector reaches.
template <class N>
constexpr unsigned int saturatedCount(N n)
{
    bool const fits = indexValue(n) >= 0 && indexValue(n) <= UINT_MAX;
    return fits ? static_cast<unsigned int>(n) : UINT_MAX;
}

}  // namespace measuremath

/// For a count of any integer type.
template <class N, measuremath::IfIndex<N> = 0>
void singularValuesThreshold(Vector& s, unsigned int& rank, double& cond, N nbThresholded)
{
    singularValuesThreshold(s, rank, cond, measuremath::saturatedCount(nbThresholded));
}

/// For a count of any integer type.
template <class N, measuremath::IfIndex<N> = 0>
bool svdInverse(Matrix const& A, Matrix& invA, unsigned int& rank, double& cond, N nbThresholded)
{
    return svdInverse(A, invA, rank, cond, measuremath::saturatedCount(nbThresholded));
}
