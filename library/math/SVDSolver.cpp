#include "math/SVDSolver.h"

#include "math/LinearAlgebra.h"
#include "math/MathError.h"
#include "math/internal/TriangularFactor.h"

#include <algorithm>
#include <memory>
#include <vector>

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

// The n equations R · x = c with A = Q · R and c = Qᵀ · b: the same solution, singular values and V.
System reduced(Matrix const& A, Vector const& b)
{
    int const n = A.getCol();
    bool const hasSide = !b.empty();
    measuremath::TriangularFactor factor(A.getNbRow(), hasSide ? n + 1 : n);
    std::vector<double> row(A.getNbCol() + 1);
    for (int i = 0; i < A.getRow(); ++i) {
        std::copy_n(A[i], n, row.begin());
        if (hasSide) row.back() = b[i];
        factor.addRow(row.data());
    }
    Matrix const R = factor.get();
    return {R(0, 0, n, n), hasSide ? R.getColVector(n)(0, n) : Vector()};
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

SVDSolver::SVDSolver()
{
    auto matU = std::make_unique<Matrix>();
    auto matV = std::make_unique<Matrix>();
    _vecS = new Vector;
    _matU = matU.release();
    _matV = matV.release();
}

SVDSolver::~SVDSolver()
{
    delete _matU;
    delete _matV;
    delete _vecS;
}

void SVDSolver::solveSystem(Matrix const& A)
{
    svdDecomp(isTall(A) ? reduced(A, Vector()).A : A);
    if (!_matV->empty()) *_vecSol = _matV->getColVector(A.getCol() - 1);
}

void SVDSolver::solveSystem(Matrix const& A, Vector const& b)
{
    System const system = isTall(A) ? reduced(A, b) : System{A, b};
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
