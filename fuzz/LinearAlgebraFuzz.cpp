#include "FuzzInput.h"
#include "math/LinearAlgebra.h"
#include "math/PCAAnalysis.h"
#include "math/SVDSolver.h"

#include <algorithm>
#include <functional>

namespace {

// Backward stability at 7 × 7: some thousand roundings, far below any wrong digit. Elimination with
// partial pivoting may lose a further factor of 2^6.
constexpr double tolerance = 1e-12;
constexpr double eliminationTolerance = 64.0 * tolerance;

template <class Array>
double largest(Array const& values)
{
    double result = 0.0;
    for (double const value : values) {
        if (std::isnan(value)) return value;
        result = std::max(result, std::abs(value));
    }
    return result;
}

// Scales at which no product of three elements overflows or vanishes; zero is one of them.
template <class... Arrays>
bool areModerate(Arrays const&... arrays)
{
    auto const isModerate = [](double scale) {
        return scale == 0.0 || (scale < 1e90 && scale > 1e-90);
    };
    return (isModerate(largest(arrays)) && ...);
}

void checkSmall(double error, double scale, double relative = tolerance)
{
    check(error <= relative * scale);
}

void checkSame(Matrix const& actual, Matrix const& expected)
{
    check(actual.getRow() == expected.getRow() && actual.getCol() == expected.getCol());
    checkSmall(largest(actual - expected), largest(expected));
}

void checkOrthonormalColumns(Matrix const& Q)
{
    checkSame(Q.transpose() * Q, Matrix(Q.getCol(), Q.getCol(), Matrix::IDENTITY));
}

Matrix diagonal(Vector const& values)
{
    Matrix result(values.size(), values.size());
    result.setDiagVector(values);
    return result;
}

// What is above the diagonal, and its mirror image: what the symmetric functions read.
Matrix mirrored(Matrix A)
{
    for (int i = 0; i < A.getRow(); ++i)
        for (int j = 0; j < i; ++j) A[i][j] = A[j][i];
    return A;
}

// x solves A · x = b for a matrix and a right side that differ by roundings.
void checkSolution(Matrix const& A, Vector const& x, Vector const& b)
{
    if (!areModerate(A, b, x)) return;
    checkSmall(largest(A * x - b), largest(A) * largest(x) + largest(b), eliminationTolerance);
}

// The residual of least squares has no part along a column of A; where singular values up to
// `cut` · |A| were dropped, none beyond that.
void checkLeastSquares(Matrix const& A, Vector const& x, Vector const& b, double cut = 0.0)
{
    if (!areModerate(A, b, x)) return;
    double const unit = std::max(largest(A), 1e-90);
    Matrix const B = A.transpose() * (1.0 / unit);
    double const scale = unit * largest(x) + largest(b);
    checkSmall(largest(B * (A * x - b)), scale, 7.0 * (tolerance + cut));
}

void checkInverse(Matrix const& A, Matrix const& inverse)
{
    if (!areModerate(A, inverse)) return;
    checkSmall(largest(A * inverse - Matrix(A.getRow(), A.getRow(), Matrix::IDENTITY)),
               largest(A) * largest(inverse), eliminationTolerance);
}

// X · A · X = X and symmetric A · X, of any truncation (Penrose).
void checkPseudoInverse(Matrix const& A, Matrix const& X)
{
    if (!areModerate(A, X)) return;
    double const gain = largest(A) * largest(X);
    Matrix const P = A * X;
    checkSmall(largest(P - P.transpose()), gain);
    checkSmall(largest(X * P - X), largest(X) * gain);
}

void decompose(FuzzInput& input, Matrix const& A)
{
    bool const full = input.flag();
    int const k = std::min(A.getRow(), A.getCol());
    Matrix U(A.getRow(), full ? A.getRow() : k);
    Matrix V(A.getCol(), full ? A.getCol() : k);
    Vector S(k);
    if (!(full ? fullSvd(A, U, S, V) : svd(A, U, S, V)) || A.empty()) return;
    checkOrthonormalColumns(U);
    checkOrthonormalColumns(V);
    check(std::is_sorted(S.cbegin(), S.cend(), std::greater<>()) && S[k - 1] >= 0.0);
    if (!areModerate(A)) return;
    checkSame(U(0, 0, A.getRow(), k) * diagonal(S) * V(0, 0, A.getCol(), k).transpose(), A);
}

void checkTriangular(Matrix const& lower)
{
    for (int i = 0; i < lower.getRow(); ++i)
        for (int j = i + 1; j < lower.getCol(); ++j) check(lower[i][j] == 0.0);
}

void factorise(FuzzInput& input, Matrix const& A)
{
    int const k = std::min(A.getRow(), A.getCol());
    Matrix F(A.getRow(), k);
    Matrix G(k, A.getCol());
    bool const isQr = input.flag();
    isQr ? qr(A, F, G) : lq(A, F, G);
    if (A.empty()) return;
    checkTriangular(isQr ? G.transpose() : F);
    checkOrthonormalColumns(isQr ? F : G.transpose());
    if (areModerate(A)) checkSame(F * G, A);
}

void solve(FuzzInput& input, Matrix const& A)
{
    Vector const b = input.vector(input.byte() == 0 ? 7 : A.getRow());
    Vector x(A.getCol());
    switch (input.integer(0, 3)) {
        case 0:
            if (luSolve(A, b, x)) checkSolution(A, x, b);
            return;
        case 1:
            if (posDefSolve(A, b, x)) checkSolution(mirrored(A), x, b);
            return;
        case 2:
            qrSolve(A, b, x);
            checkLeastSquares(A, x, b);
            return;
        default:
            unsigned int rank = 0;
            double cond = 0.0;
            double const rcond = input.number();
            if (!svdSolve(A, b, x, rank, cond, rcond)) return;
            check(rank <= x.size());
            if (rcond < 1.0) checkLeastSquares(A, x, b, std::max(rcond, 0.0));
    }
}

// The unit vector of the least |A · x|: no column of A, which is A · e_j, is shorter.
void solveHomogeneous(FuzzInput& input, Matrix const& A)
{
    Vector x(A.getCol());
    unsigned int rank = 0;
    double cond = 0.0;
    if (!svdSolve(A, x, rank, cond, input.number()) || A.empty()) return;
    check(isNear(x.length(), 1.0, tolerance));
    if (!areModerate(A)) return;
    double const least = (A * x).length();
    for (int j = 0; j < A.getCol(); ++j)
        check(least <= A.getColVector(j).length() + tolerance * largest(A));
}

void invert(FuzzInput& input, Matrix const& A)
{
    Matrix inverse(A.getCol(), A.getRow());
    unsigned int rank = 0;
    double cond = 0.0;
    switch (input.integer(0, 4)) {
        case 0:
            if (luInverse(A, inverse)) checkInverse(A, inverse);
            return;
        case 1:
            if (svdInverse(A, inverse, rank, cond, input.number())) checkPseudoInverse(A, inverse);
            return;
        case 2:
            if (svdInverse(A, inverse, rank, cond, input.integer(-1, 7)))
                checkPseudoInverse(A, inverse);
            return;
        case 3:
            if (posDefInverse(A, inverse)) checkInverse(mirrored(A), inverse);
            return;
        default:
            inverse = A;
            inverse.invert();
            checkInverse(A, inverse);
    }
}

void cholesky(FuzzInput&, Matrix const& A)
{
    Matrix U(A.getRow(), A.getCol());
    if (!posDefDecomp(A, U)) return;
    checkTriangular(U.transpose());
    Matrix const S = mirrored(A);
    if (areModerate(S)) checkSame(U.transpose() * U, S);
}

void symmetricEigen(FuzzInput&, Matrix const& A)
{
    Vector values(A.getRow());
    Matrix vectors(A.getRow(), A.getCol());
    if (!eigenValuesVectors(A, values, vectors)) return;
    check(std::is_sorted(values.cbegin(), values.cend()));
    checkOrthonormalColumns(vectors);
    Matrix const S = mirrored(A);
    if (areModerate(S)) checkSame(vectors * diagonal(values) * vectors.transpose(), S);
}

void overdetermined(FuzzInput& input, Matrix const& A)
{
    SVDSolver solver;
    Vector const b = input.flag() ? input.vector(A.getRow()) : Vector(A.getRow());
    solver.solve(A, b);
    Vector const& x = solver.getVecSol();
    check(solver.getMatRank() <= solver.getNbVariables() && x.size() == solver.getNbVariables());
    checkLeastSquares(A, x, b, solver.getMatRank() == x.size() ? 0.0 : tolerance);
    if (areModerate(A, x, b))
        checkSmall(largest(A * x - b - solver.getResiduals()),
                   largest(A) * largest(x) + largest(b));
}

void principalAxes(FuzzInput& input, Matrix const& A)
{
    std::vector<Vector> points(static_cast<std::size_t>(A.getRow()));
    for (int i = 0; i < A.getRow(); ++i) points[static_cast<std::size_t>(i)] = A.getRowVector(i);
    PCAAnalysis pca;
    pca.computeAnalysis(static_cast<unsigned int>(input.integer(0, 7)), points);
    if (!pca.getBoolAnalysisSuccess() || points.empty()) return;
    Matrix const& axes = pca.getPrincipalVectors();
    checkOrthonormalColumns(axes);
    if (areModerate(A))
        checkSmall(largest(pca.getCov() * axes - axes * diagonal(pca.getPrincipalValues())),
                   largest(pca.getCov()));
}

}  // namespace

void fuzz(FuzzInput& input)
{
    constexpr std::array operations = {cholesky, decompose,        factorise,
                                       invert,   overdetermined,   principalAxes,
                                       solve,    solveHomogeneous, symmetricEigen};
    auto const operation = operations[input.byte() % operations.size()];
    int const rows = input.integer(0, 7);
    int const cols = input.byte() < 128 ? rows : input.integer(0, 7);
    Matrix A = input.matrix(rows, cols);
    // A positive definite matrix is not met by chance.
    if (input.flag()) A = A.transpose() * A;
    operation(input, A);
}
