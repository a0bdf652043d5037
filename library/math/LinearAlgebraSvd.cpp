#include "math/LinearAlgebra.h"

#include "math/internal/Constants.h"
#include "math/internal/Elementwise.h"
#include "math/internal/Lapack.h"
#include "math/internal/Product.h"
#include "math/internal/Transpose.h"

#include <algorithm>
#include <cstddef>

namespace lapack = measuremath::lapack;
using measuremath::require;

namespace {

constexpr char const* tooManyThresholded =
    "Invalid nbThresholdedValues, value greater than vector s size";

void requireShape(Matrix const& M, int rows, int cols, char const* message)
{
    require(M.getRow() == rows && M.getCol() == cols, message);
}

double orDefault(double tolerance)
{
    return tolerance < 0.0 ? measuremath::machineEpsilon : tolerance;
}

double conditionNumber(Vector const& s)
{
    double const smallest = s[s.size() - 1];
    return smallest == 0.0 ? -1.0 : s[0] / smallest;
}

// 1 / s, where values of exactly 0 drop out.
double weight(double s)
{
    return s == 0.0 ? 0.0 : 1.0 / s;
}

// A = U · diag(S) · Vᵀ with Ut the transpose of U; `job` is 'S' for thin factors and 'A' for full
// ones. LAPACK's U, read by rows, is Ut, and its Vᵀ is V.
bool factor(Matrix const& A, char job, Matrix& Ut, Vector& S, Matrix& V)
{
    if (!lapack::isFinite(A)) return false;
    int const m = A.getRow();
    int const n = A.getCol();
    int const ldvt = V.getCol();
    Matrix At = A.transpose();
    double* const a = At.data();
    double* const s = S.data();
    double* const u = Ut.data();
    double* const v = V.data();
    int const info = lapack::withWorkspace([&](double* work, int lwork) {
        return lapack::gesvd(job, job, m, n, a, m, s, u, m, v, ldvt, work, lwork);
    });
    return info == 0 && lapack::isFinite(S);  // values can overflow where elements do not
}

bool factorInto(Matrix const& A, char job, Matrix& U, Vector& S, Matrix& V)
{
    if (A.empty()) return true;
    Matrix Ut(U.getCol(), U.getRow(), Matrix::NO_INIT);
    double* const u = U.data();  // a copy of its own, if it needs one, before S and V change
    bool const converged = factor(A, job, Ut, S, V);
    if (converged) {
        measuremath::transpose(Ut.begin(), U.getCol(), U.getRow(), U.getRow(), u);
    } else {
        U.zeroed();
        S.zeroed();
        V.zeroed();
    }
    return converged;
}

// V · diag(1 / S_i).
Matrix weightedColumns(Matrix const& V, Vector const& S)
{
    Matrix W(V.getRow(), V.getCol(), Matrix::NO_INIT);
    double const* v = V.begin();
    double const* const s = S.begin();
    double* w = W.begin();
    for (int i = 0; i < V.getRow(); ++i)
        for (int j = 0; j < V.getCol(); ++j) *w++ = *v++ * weight(s[j]);
    return W;
}

// invA = V · diag(1 / S_i) · Ut.
void combine(Matrix const& V, Vector const& S, Matrix const& Ut, Matrix& invA)
{
    Matrix const W = weightedColumns(V, S);
    measuremath::multiply(W.begin(), Ut.begin(), invA.begin(), W.getRow(), W.getCol(), Ut.getCol());
}

// The pseudo-inverse of A over the singular values that `truncate(S)` leaves.
template <class Truncate>
bool pseudoInverse(Matrix const& A, Matrix& invA, Truncate truncate)
{
    int const k = std::min(A.getRow(), A.getCol());
    Matrix Ut(k, A.getRow(), Matrix::NO_INIT);
    Vector S(k, Vector::NO_INIT);
    Matrix V(A.getCol(), k, Matrix::NO_INIT);
    if (!factor(A, 'S', Ut, S, V)) {
        invA.zeroed();
        return false;
    }
    truncate(S);
    combine(V, S, Ut, invA);
    return true;
}

// Overwrites the leading rows of the column-major matrix behind At, m × n with m >= n, by Vᵀ.
bool overwriteByVt(Matrix& At, Vector& S)
{
    int const m = At.getCol();
    int const n = At.getRow();
    double* const a = At.data();
    double* const s = S.data();
    int const info = lapack::withWorkspace([&](double* work, int lwork) {
        return lapack::gesvd('N', 'O', m, n, a, m, s, nullptr, 1, nullptr, 1, work, lwork);
    });
    return info == 0;
}

// Number of singular values above a threshold that is absolute and relative to the largest.
unsigned int countAbove(Vector const& s, double tolerance)
{
    if (s[0] == 0.0) return 0;
    double const threshold = std::max(tolerance, tolerance * s[0]);
    unsigned int count = s.size();
    while (count > 0 && s[count - 1] <= threshold) --count;
    return count;
}

}  // namespace

bool svd(Matrix const& A, Matrix& U, Vector& S, Matrix& V)
{
    int const k = std::min(A.getRow(), A.getCol());
    requireShape(U, A.getRow(), k, "Invalid matrix U size");
    requireShape(V, A.getCol(), k, "Invalid matrix V size");
    require(S.getSize() == k, "Invalid vector S size");
    lapack::requireDistinct(U, V);
    return factorInto(A, 'S', U, S, V);
}

bool fullSvd(Matrix const& A, Matrix& U, Vector& S, Matrix& V)
{
    requireShape(U, A.getRow(), A.getRow(), "Invalid matrix U size");
    requireShape(V, A.getCol(), A.getCol(), "Invalid matrix V size");
    require(S.getSize() == std::min(A.getRow(), A.getCol()), "Invalid vector S size");
    lapack::requireDistinct(U, V);
    return factorInto(A, 'A', U, S, V);
}

bool svdSolve(Matrix const& A, Vector const& b, Vector& x, unsigned int& rank, double& cond,
              double rcond)
{
    int const m = A.getRow();
    int const n = A.getCol();
    require(m >= n, "Invalid matrix size, need m >= n");
    require(b.getSize() == m, "Invalid vector B size");
    require(x.getSize() == n, "Invalid vector X size");

    rank = 0;
    cond = 1.0;
    if (A.empty()) return true;
    if (!lapack::isFinite(A) || !lapack::isFinite(b)) return false;

    Matrix At = A.transpose();
    Vector B = b;
    Vector S(n, Vector::NO_INIT);
    double* const a = At.data();
    double* const rhs = B.data();
    double* const s = S.data();
    int found = 0;
    int const info = lapack::withWorkspace([&](double* work, int lwork) {
        return lapack::gelss(m, n, 1, a, m, rhs, m, s, orDefault(rcond), found, work, lwork);
    });
    if (info != 0) return false;
    x.init(rhs, n);
    rank = static_cast<unsigned int>(found);
    cond = conditionNumber(S);
    return true;
}

bool svdSolve(Matrix const& A, Vector& x, unsigned int& rank, double& cond, double rcond)
{
    int const m = A.getRow();
    int const n = A.getCol();
    require(m >= n, "Invalid matrix size, need m >= n");
    require(x.getSize() == n, "Invalid vector X size");

    rank = 0;
    cond = 1.0;
    if (A.empty()) return true;

    Matrix At = A.transpose();
    Vector S(n, Vector::NO_INIT);
    if (!lapack::isFinite(A) || !overwriteByVt(At, S)) {
        x.zeroed();
        return false;
    }
    double const* vt = At.begin() + (n - 1);  // last row of Vᵀ, in columns of length m
    double* const out = x.data();
    for (int j = 0; j < n; ++j, vt += m) out[j] = *vt;
    rank = countAbove(S, orDefault(rcond));
    cond = conditionNumber(S);
    return true;
}

void singularValuesThreshold(Vector& s, unsigned int& rank, double& cond, double relTol)
{
    rank = 0;
    cond = 1.0;
    if (s.empty()) return;

    Vector const& values = s;
    double const threshold = orDefault(relTol) * values[0];
    rank = s.size();
    while (rank > 0 && values[rank - 1] <= threshold) s[--rank] = 0.0;
    cond = conditionNumber(s);
}

void singularValuesThreshold(Vector& s, unsigned int& rank, double& cond,
                             unsigned int nbThresholded)
{
    require(nbThresholded <= s.size(), tooManyThresholded);

    rank = s.size() - nbThresholded;
    if (nbThresholded > 0) std::fill(s.begin() + rank, s.end(), 0.0);
    cond = s.empty() ? 1.0 : conditionNumber(s);
}

bool svdInverse(Matrix const& A, Matrix& invA, unsigned int& rank, double& cond, double relTol)
{
    requireShape(invA, A.getCol(), A.getRow(), "Invalid matrix invA size");
    if (A.empty()) return true;
    return pseudoInverse(A, invA,
                         [&](Vector& S) { singularValuesThreshold(S, rank, cond, relTol); });
}

bool svdInverse(Matrix const& A, Matrix& invA, unsigned int& rank, double& cond,
                unsigned int nbThresholded)
{
    requireShape(invA, A.getCol(), A.getRow(), "Invalid matrix invA size");
    if (A.empty()) return true;
    require(nbThresholded <= std::min(A.getNbRow(), A.getNbCol()), tooManyThresholded);
    return pseudoInverse(A, invA,
                         [&](Vector& S) { singularValuesThreshold(S, rank, cond, nbThresholded); });
}

void svdInverse(Matrix const& U, Vector const& S, Matrix const& V, Matrix& invA)
{
    int const m = U.getRow();
    int const n = V.getRow();
    int const k = std::min(m, n);
    require(U.getCol() == k, "Invalid matrix U size");
    require(S.getSize() == k, "Invalid vector S size");
    require(V.getCol() == k, "Invalid matrix V size");
    requireShape(invA, n, m, "Invalid matrix invA size");
    if (k == 0) return;
    combine(V, S, U.transpose(), invA);
}

void svdCovariance(Vector const& S, Matrix const& V, Matrix& cov)
{
    int const n = S.getSize();
    requireShape(V, n, n, "Invalid matrix V size");
    requireShape(cov, n, n, "Invalid matrix Cov size");

    // (V · diag(1 / S)) times its transpose: the squares of small values would underflow sooner.
    Matrix const W = weightedColumns(V, S);
    double* const c = cov.data();
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i; ++j)
            c[i * n + j] = c[j * n + i] = measuremath::dot(W[i], W[j], S.size());
}
