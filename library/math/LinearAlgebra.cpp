#include "math/LinearAlgebra.h"

#include "math/internal/Constants.h"
#include "math/internal/Elementwise.h"
#include "math/internal/Lapack.h"
#include "math/internal/Transpose.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace lapack = measuremath::lapack;
using measuremath::require;

namespace {

void requireSquare(Matrix const& A)
{
    require(A.getRow() == A.getCol(), "Invalid matrix size, need square matrix");
}

void requireShape(Matrix const& M, int rows, int cols, char const* message)
{
    require(M.getRow() == rows && M.getCol() == cols, message);
}

void requireSquareSystem(Matrix const& A, Vector const& b, Vector const& x)
{
    requireSquare(A);
    require(b.getSize() == A.getRow(), "Invalid vector B size");
    require(x.getSize() == A.getRow(), "Invalid vector X size");
}

// Place of element (i, j) in a buffer of rows of length `stride`.
std::ptrdiff_t at(int i, int j, int stride)
{
    return static_cast<std::ptrdiff_t>(i) * stride + j;
}

// Of a symmetric matrix the part that is read.
bool isUpperTriangleFinite(Matrix const& A)
{
    int const n = A.getRow();
    double const* row = A.begin();
    for (int i = 0; i < n; ++i, row += n)
        if (!measuremath::allFinite(row + i, static_cast<std::size_t>(n - i))) return false;
    return true;
}

void zeroBelowDiagonal(Matrix& M)
{
    int const cols = M.getCol();
    double* row = M.data();
    for (int i = 0; i < M.getRow(); ++i, row += cols) std::fill_n(row, std::min(i, cols), 0.0);
}

void zeroAboveDiagonal(Matrix& M)
{
    int const cols = M.getCol();
    double* row = M.data();
    for (int i = 0; i + 1 < cols; ++i, row += cols) std::fill(row + i + 1, row + cols, 0.0);
}

bool failWithZeros(TVector<double>& output)
{
    output.zeroed();
    return false;
}

// The factorisation A = Uᵀ · U in place; what lies below the diagonal stays. It cannot hang, and
// any infinity or NaN in A reaches the diagonal of U.
bool factorPositiveDefinite(Matrix& A)
{
    int const n = A.getRow();
    double* const a = A.data();
    if (lapack::checked(lapack::potrf('L', n, a, n)) != 0) return false;
    for (int i = 0; i < n; ++i)
        if (!std::isfinite(a[at(i, i, n)])) return false;
    return true;
}

// Of eigenvectors in rows, those whose eigenvalue is nothing but rounding, against all.
bool areNullVectorsOrthonormal(Matrix const& Z, Vector const& eigenValues)
{
    int const n = Z.getRow();
    double const tolerance = 64.0 * n * measuremath::machineEpsilon;
    double const largest = std::max(std::abs(eigenValues[0]), std::abs(eigenValues[n - 1]));
    for (int i = 0; i < n; ++i) {
        if (std::abs(eigenValues[i]) > tolerance * largest) continue;
        for (int j = 0; j < n; ++j) {
            double const product = measuremath::dot(Z[i], Z[j], static_cast<std::size_t>(n));
            if (!(std::abs(product - (i == j ? 1.0 : 0.0)) <= tolerance)) return false;
        }
    }
    return true;
}

// Eigenvectors come out in the rows. Those of DSYEVR that belong to eigenvalues of nothing but
// rounding, as of a matrix of low rank, are at times orthogonal to half the digits only; the QR
// iteration of DSYEV is slower and has no such gap.
bool diagonalise(Matrix const& A, Vector& eigenValues, Matrix& eigenVectors)
{
    int const n = A.getRow();
    Matrix const original = A;  // which eigenVectors may be
    Matrix copy = A;
    TVector<int> support(2 * n);  // written for RANGE = 'A' too; of no use here
    double* const a = copy.data();
    double* const w = eigenValues.data();
    double* const z = eigenVectors.data();
    int* const isuppz = support.data();
    int liwork = 0;
    int const info = lapack::withWorkspace([&](double* work, int lwork) {
        if (lwork < 0)
            return lapack::syevr('L', n, a, n, w, z, n, isuppz, work, lwork, &liwork, -1);
        TVector<int> iwork(liwork);
        return lapack::syevr('L', n, a, n, w, z, n, isuppz, work, lwork, iwork.data(), liwork);
    });
    if (n < 3 || info != 0 || areNullVectorsOrthonormal(eigenVectors, eigenValues))
        return info == 0;

    eigenVectors.initMatrix(original);
    // No memory is asked for once the results are being written: `copy` serves as the workspace.
    return lapack::checked(lapack::syev('L', n, eigenVectors.data(), n, w, a, n * n)) == 0;
}

// The triangular and the orthogonal factor of A as LAPACK packs them into one array, the latter as
// elementary reflectors; `apply` first packs them, then makes the orthogonal factor explicit.
class Reflectors {
public:
    explicit Reflectors(Matrix const& A)
        : _array(A.transpose()),
          _scales(std::min(A.getRow(), A.getCol()), Vector::NO_INIT)
    {
        require(lapack::isFinite(A), lapack::badParameter);
    }

    template <class Routine>
    void apply(Routine routine)
    {
        double* const a = _array.data();
        double* const tau = _scales.data();
        lapack::requireSuccess(lapack::withWorkspace(
            [=](double* work, int lwork) { return routine(a, tau, work, lwork); }));
    }

    // Elements whose norms are beyond the largest double do not survive DGEQRF and DGELQF.
    void requireFinite() const
    {
        bool const isFinite = lapack::isFinite(_array) && lapack::isFinite(_scales);
        require(isFinite, "Matrix elements too large");
    }

    double const* data() const { return _array.begin(); }

private:
    Matrix _array;
    Vector _scales;
};

}  // namespace

void qrSolve(Matrix const& A, Vector const& b, Vector& x)
{
    int const m = A.getRow();
    int const n = A.getCol();
    require(m >= n, "Invalid matrix size, need m >= n");
    require(b.getSize() == m, "Invalid vector B size");
    require(x.getSize() == n, "Invalid vector X size");
    if (A.empty()) return;
    require(lapack::isFinite(A) && lapack::isFinite(b), lapack::badParameter);

    Matrix At = A.transpose();
    Vector B = b;
    double* const a = At.data();
    double* const rhs = B.data();
    lapack::requireSuccess(lapack::withWorkspace([&](double* work, int lwork) {
        return lapack::gels('N', m, n, 1, a, m, rhs, m, work, lwork);
    }));
    x.init(rhs, n);
}

void qr(Matrix const& A, Matrix& Q, Matrix& R)
{
    int const m = A.getRow();
    int const n = A.getCol();
    int const k = std::min(m, n);
    requireShape(Q, m, k, "Invalid matrix Q size");
    requireShape(R, k, n, "Invalid matrix R size");
    lapack::requireDistinct(Q, R);
    if (A.empty()) return;

    Reflectors reflectors(A);
    reflectors.apply([=](double* a, double* tau, double* work, int lwork) {
        return lapack::geqrf(m, n, a, m, tau, work, lwork);
    });
    reflectors.requireFinite();
    measuremath::transpose(reflectors.data(), n, k, m, R.data());
    zeroBelowDiagonal(R);
    reflectors.apply([=](double* a, double* tau, double* work, int lwork) {
        return lapack::orgqr(m, k, k, a, m, tau, work, lwork);
    });
    measuremath::transpose(reflectors.data(), k, m, m, Q.data());
}

void lq(Matrix const& A, Matrix& L, Matrix& Q)
{
    int const m = A.getRow();
    int const n = A.getCol();
    int const k = std::min(m, n);
    requireShape(L, m, k, "Invalid matrix L size");
    requireShape(Q, k, n, "Invalid matrix Q size");
    lapack::requireDistinct(L, Q);
    if (A.empty()) return;

    Reflectors reflectors(A);
    reflectors.apply([=](double* a, double* tau, double* work, int lwork) {
        return lapack::gelqf(m, n, a, m, tau, work, lwork);
    });
    reflectors.requireFinite();
    measuremath::transpose(reflectors.data(), k, m, m, L.data());
    zeroAboveDiagonal(L);
    reflectors.apply([=](double* a, double* tau, double* work, int lwork) {
        return lapack::orglq(k, n, k, a, m, tau, work, lwork);
    });
    measuremath::transpose(reflectors.data(), n, k, m, Q.data());
}

bool luSolve(Matrix const& A, Vector const& b, Vector& x)
{
    requireSquareSystem(A, b, x);
    if (A.empty()) return true;
    if (!lapack::isFinite(A) || !lapack::isFinite(b)) return failWithZeros(x);

    int const n = A.getRow();
    Matrix factors = A;
    double* const a = factors.data();
    TVector<int> pivots(n);
    int* const p = pivots.data();
    if (lapack::checked(lapack::getrf(n, n, a, n, p)) != 0) return failWithZeros(x);
    x.init(b);
    lapack::requireSuccess(lapack::getrs('T', n, 1, a, n, p, x.data(), n));
    return true;
}

bool luInverse(Matrix& A)
{
    requireSquare(A);
    if (A.empty()) return true;
    if (!lapack::isFinite(A)) return failWithZeros(A);

    int const n = A.getRow();
    double* const a = A.data();
    TVector<int> pivots(n);
    int* const p = pivots.data();
    int const info = lapack::withWorkspace([&](double* work, int lwork) {
        bool const forSize = lwork == -1;  // A changes when all memory is there
        int const failed = forSize ? 0 : lapack::checked(lapack::getrf(n, n, a, n, p));
        return failed != 0 ? failed : lapack::getri(n, a, n, p, work, lwork);
    });
    return info == 0 || failWithZeros(A);
}

bool luInverse(Matrix const& A, Matrix& invA)
{
    requireShape(invA, A.getRow(), A.getCol(), "Invalid invA matrix size");
    requireSquare(A);
    invA.init(A);
    return luInverse(invA);
}

bool eigenValuesVectors(Matrix const& A, Vector& eigenValues, Matrix& eigenVectors)
{
    int const n = A.getRow();
    require(A.getCol() == n, "Matrix a should be square");
    require(eigenValues.getSize() == n, "Invalid eigenValues vector size");
    requireShape(eigenVectors, n, n, "Invalid eigenVectors matrix size");
    if (A.empty()) return true;

    if (!isUpperTriangleFinite(A) || !diagonalise(A, eigenValues, eigenVectors)) {
        eigenVectors.zeroed();
        return failWithZeros(eigenValues);
    }
    eigenVectors.transposeMyself();
    return true;
}

bool posDefSolve(Matrix const& A, Vector const& b, Vector& x)
{
    requireSquareSystem(A, b, x);
    if (A.empty()) return true;

    int const n = A.getRow();
    Matrix U = A;
    if (!lapack::isFinite(b) || !factorPositiveDefinite(U)) return failWithZeros(x);
    x.init(b);
    lapack::requireSuccess(lapack::potrs('L', n, 1, U.data(), n, x.data(), n));
    return true;
}

bool posDefDecomp(Matrix const& A, Matrix& U)
{
    requireSquare(A);
    int const n = A.getRow();
    requireShape(U, n, n, "Invalid U matrix size");
    if (A.empty()) return true;

    U.init(A);
    if (!factorPositiveDefinite(U)) return failWithZeros(U);
    zeroBelowDiagonal(U);
    return true;
}

bool posDefInverse(Matrix const& A, Matrix& invA)
{
    requireSquare(A);
    int const n = A.getRow();
    requireShape(invA, n, n, "Invalid invA matrix size");
    if (A.empty()) return true;

    invA.init(A);
    if (!factorPositiveDefinite(invA)) return failWithZeros(invA);
    double* const a = invA.data();
    lapack::requireSuccess(lapack::potri('L', n, a, n));
    for (int i = 1; i < n; ++i)
        for (int j = 0; j < i; ++j) a[at(i, j, n)] = a[at(j, i, n)];
    return true;
}
