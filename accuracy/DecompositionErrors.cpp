#include "DecompositionErrors.h"

#include "math/LinearAlgebra.h"
#include "math/SVDSolver.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr ScaledErrors failure{std::numeric_limits<double>::infinity()};

using In = Matrix const&;
using Rhs = Vector const&;

int largerSide(Matrix const& A)
{
    return std::max(A.getRow(), A.getCol());
}

int smallerSide(Matrix const& A)
{
    return std::min(A.getRow(), A.getCol());
}

Matrix identity(int n)
{
    return Matrix(n, n, Matrix::IDENTITY);
}

Matrix upperTriangle(Matrix A, double below = 0.0)
{
    for (int i = 0; i < A.getRow(); ++i) std::fill_n(A[i], std::min(i, A.getCol()), below);
    return A;
}

// Of a symmetric matrix all that may be read.
Matrix half(Matrix const& A)
{
    return upperTriangle(A, nan);
}

double orthogonality(Matrix const& Q)
{
    return scaledDifference(Q.transpose() * Q, identity(Q.getCol()));
}

ScaledErrors when(bool success, ScaledErrors const& errors)
{
    return success ? errors : failure;
}

// How far B · (A · x - b) is from 0; with B = Aᵀ, a least-squares solution from the best.
ScaledErrors ofSolution(Matrix const& A, Vector const& x, Vector const& b, Matrix const& B)
{
    double const terms = A.frobeniusNorm() * x.length() + b.length();
    Matrix const unit = B * (1.0 / B.frobeniusNorm());  // keeps products in range
    return {scaledError((unit * (A * x - b)).length(), terms * largerSide(A))};
}

ScaledErrors ofLeastSquares(Matrix const& A, Vector const& x, Vector const& b)
{
    return ofSolution(A, x, b, A.transpose());
}

ScaledErrors ofSquareSystem(Matrix const& A, Vector const& x, Vector const& b)
{
    return ofSolution(A, x, b, identity(A.getRow()));
}

// A = U · diag(S) · Vᵀ, where U and V may have more columns than there are values.
ScaledErrors ofSingularValues(Matrix const& A, Matrix const& U, Vector const& S, Matrix const& V)
{
    int const k = S.getSize();
    Matrix const thinU = U(0, 0, A.getRow(), k), thinV = V(0, 0, A.getCol(), k);
    return when(std::is_sorted(S.begin(), S.end(), std::greater<>()) && S[k - 1] >= 0.0,
                {scaledDifference(thinU * diagonal(S) * thinV.transpose(), A),
                 std::max(orthogonality(U), orthogonality(V))});
}

// A = Q · R.
ScaledErrors ofTriangle(Matrix const& A, Matrix const& Q, Matrix const& R)
{
    return when(R.equals(upperTriangle(R), 0.0), {scaledDifference(Q * R, A), orthogonality(Q)});
}

}  // namespace

std::vector<Decomposition> const& decompositions()
{
    static std::vector<Decomposition> const all = {
        {"svd", Domain::ANY,
         [](In A, Rhs) {
             int const k = smallerSide(A);
             Matrix U(A.getRow(), k), V(A.getCol(), k);
             Vector S(k);
             return svd(A, U, S, V) ? ofSingularValues(A, U, S, V) : failure;
         }},
        {"fullSvd", Domain::ANY,
         [](In A, Rhs) {
             Matrix U(A.getRow(), A.getRow()), V(A.getCol(), A.getCol());
             Vector S(smallerSide(A));
             return fullSvd(A, U, S, V) ? ofSingularValues(A, U, S, V) : failure;
         }},
        {"qr", Domain::ANY,
         [](In A, Rhs) {
             Matrix Q(A.getRow(), smallerSide(A)), R(smallerSide(A), A.getCol());
             qr(A, Q, R);
             return ofTriangle(A, Q, R);
         }},
        {"lq", Domain::ANY,
         [](In A, Rhs) {
             Matrix L(A.getRow(), smallerSide(A)), Q(smallerSide(A), A.getCol());
             lq(A, L, Q);
             return ofTriangle(A.transpose(), Q.transpose(), L.transpose());
         }},
        {"qrSolve", Domain::TALL,
         [](In A, Rhs b) {
             Vector x(A.getCol());
             qrSolve(A, b, x);
             return ofLeastSquares(A, x, b);
         }},
        {"svdSolve", Domain::TALL,
         [](In A, Rhs b) {
             Vector x(A.getCol());
             unsigned int rank = 0;
             double cond = 0.0;
             return svdSolve(A, b, x, rank, cond, 0.0) ? ofLeastSquares(A, x, b) : failure;
         }},
        {"SVDSolver", Domain::TALL,
         [](In A, Rhs b) {
             SVDSolver solver;
             solver.solve(A, b);
             return ofLeastSquares(A, solver.getVecSol(), b);
         }},
        {"luSolve", Domain::SQUARE,
         [](In A, Rhs b) {
             Vector x(A.getCol());
             return luSolve(A, b, x) ? ofSquareSystem(A, x, b) : failure;
         }},
        {"luInverse", Domain::SQUARE,
         [](In A, Rhs) {
             Matrix X = A;
             bool const success = luInverse(A, X);
             return when(success, {inversionError(A, X)});
         }},
        {"eigenValuesVectors", Domain::SYMMETRIC,
         [](In A, Rhs) {
             Vector values(A.getRow());
             Matrix V = A;
             bool const success = eigenValuesVectors(half(A), values, V);
             return when(
                 success && std::is_sorted(values.cbegin(), values.cend()),
                 {scaledDifference(V * diagonal(values) * V.transpose(), A), orthogonality(V)});
         }},
        {"posDefDecomp", Domain::POSITIVE_DEFINITE,
         [](In A, Rhs) {
             Matrix U = A;
             bool const success = posDefDecomp(half(A), U) && U.equals(upperTriangle(U), 0.0);
             return when(success, {scaledDifference(U.transpose() * U, A)});
         }},
        {"posDefSolve", Domain::POSITIVE_DEFINITE,
         [](In A, Rhs b) {
             Vector x(A.getCol());
             return posDefSolve(half(A), b, x) ? ofSquareSystem(A, x, b) : failure;
         }},
        {"posDefInverse", Domain::POSITIVE_DEFINITE,
         [](In A, Rhs) {
             Matrix X = A;
             bool const success = posDefInverse(half(A), X) && X.equals(X.transpose(), 0.0);
             return when(success, {inversionError(A, X)});
         }},
    };
    return all;
}

double scaledError(double error, double scale)
{
    double const scaled =
        error / (scale == 0.0 ? 1.0 : scale) / std::numeric_limits<double>::epsilon();
    if (std::isnan(scaled)) return failure.residual;
    return scaled;
}

double scaledDifference(Matrix const& actual, Matrix const& expected)
{
    return scaledError((actual - expected).frobeniusNorm(),
                       expected.frobeniusNorm() * largerSide(expected));
}

double inversionError(Matrix const& A, Matrix const& X)
{
    return scaledError((A * X - identity(A.getRow())).frobeniusNorm(),
                       A.frobeniusNorm() * X.frobeniusNorm() * A.getRow());
}

Matrix diagonal(Vector const& d)
{
    Matrix D(d.size(), d.size());
    D.setDiagVector(d);
    return D;
}

Matrix symmetric(Matrix const& A)
{
    return 0.5 * (A + A.transpose());
}
