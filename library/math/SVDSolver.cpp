#include "math/SVDSolver.h"

#include "math/LinearAlgebra.h"
#include "math/MathError.h"
#include "math/internal/Lapack.h"
#include "math/internal/Transpose.h"

#include <algorithm>
#include <cstddef>

namespace lapack = measuremath::lapack;
using measuremath::require;

namespace {

// Where the QR factors cost less than the decomposition of A itself: never for minimal samples.
bool isTall(Matrix const& A)
{
    constexpr unsigned int smallest = 128;
    return A.getNbRow() > 2 * A.getNbCol() && A.size() >= smallest;
}

// A · x = b, or A · x = 0 where b is empty.
struct System {
    Matrix A;
    Vector b;
};

// The columns of [A b], one after the other.
Matrix columnsOf(System const& system)
{
    int const m = system.A.getRow();
    int const n = system.A.getCol();
    Matrix columns(system.b.empty() ? n : n + 1, m, Matrix::NO_INIT);
    double* const out = columns.data();
    measuremath::transpose(system.A.begin(), m, n, n, out);
    std::copy(system.b.begin(), system.b.end(), out + system.A.size());
    return columns;
}

void replaceByTriangularFactor(Matrix& columns)
{
    int const m = columns.getCol();
    int const p = columns.getRow();
    Vector tau(p, Vector::NO_INIT);
    double* const a = columns.data();
    double* const t = tau.data();
    lapack::requireSuccess(lapack::withWorkspace(
        [&](double* work, int lwork) { return lapack::geqrf(m, p, a, m, t, work, lwork); }));
}

// The n equations R · x = c with A = Q · R and c = Qᵀ · b: the same solution, singular values and V.
System reduced(System const& system)
{
    int const n = system.A.getCol();
    Matrix factored = columnsOf(system);
    replaceByTriangularFactor(factored);

    Matrix const& columns = factored;
    Matrix R(n, n);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i <= j; ++i) R[i][j] = columns[j][i];
    return {R, system.b.empty() ? Vector() : Vector(columns[n], n)};
}

// The solution of R · x = c. Where columns differ much in size, rounding here does not mix them, as
// it does in singular vectors: certified regressions gain up to two digits, their residuals six.
Vector backSubstituted(System const& triangular)
{
    auto const& [R, c] = triangular;
    Vector solution = c;
    double* const x = solution.data();
    for (int i = c.getSize() - 1; i >= 0; --i) {
        for (int j = i + 1; j < c.getSize(); ++j) x[i] -= R[i][j] * x[j];
        x[i] /= R[i][i];
    }
    return solution;
}

// x = V · diag(1 / S_i) · Uᵀ · b, where values of 0 drop out.
Vector minimumNormSolution(Matrix const& U, Vector const& S, Matrix const& V, Vector const& b)
{
    Vector y(S.size());
    double* const sums = y.data();
    for (unsigned int i = 0; i < b.size(); ++i)
        for (unsigned int j = 0; j < S.size(); ++j) sums[j] += U[i][j] * b[i];
    for (unsigned int j = 0; j < S.size(); ++j) sums[j] = S[j] == 0.0 ? 0.0 : sums[j] / S[j];
    return V * y;
}

// Leaves the elements undefined; keeps the storage where the size is the same.
void resize(Matrix& M, int rows, int cols)
{
    M.init(static_cast<double const*>(nullptr), rows, cols);
}

}  // namespace

SVDSolver::SVDSolver() : _matU(new Matrix), _matV(new Matrix), _vecS(new Vector) {}

SVDSolver::~SVDSolver()
{
    delete _matU;
    delete _matV;
    delete _vecS;
}

void SVDSolver::solveSystem(Matrix const& A)
{
    svdDecomp(isTall(A) ? reduced({A, Vector()}).A : A);
    if (!_matV->empty()) *_vecSol = _matV->getColVector(A.getCol() - 1);
}

void SVDSolver::solveSystem(Matrix const& A, Vector const& b)
{
    System const system = isTall(A) ? reduced({A, b}) : System{A, b};
    svdDecomp(system.A);
    *_vecSol = isTall(A) && _matRank == A.getNbCol()
                   ? backSubstituted(system)
                   : minimumNormSolution(*_matU, *_vecS, *_matV, system.b);
}

void SVDSolver::svdDecomp(Matrix const& A)
{
    int const n = A.getCol();
    resize(*_matU, A.getRow(), n);
    resize(*_matV, n, n);
    _vecS->init(static_cast<double const*>(nullptr), n);
    require(svd(A, *_matU, *_vecS, *_matV), "SVD decomposition failed");
    singularValuesThreshold(*_vecS, _matRank, _matCond, -1.0);
    svdCovariance(*_vecS, *_matV, *_cov);
}
