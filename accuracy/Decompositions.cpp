#include "Report.h"

#include "math/LinearAlgebra.h"
#include "math/SVDSolver.h"
#include "support/RandomData.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr double epsilon = std::numeric_limits<double>::epsilon();

// Residuals scaled by norm, size and epsilon stay below 30 for a correct routine: the threshold of
// LAPACK's own test programs.
constexpr double limit = 30.0;

Matrix diagonal(Vector const& d)
{
    Matrix D(d.size(), d.size());
    D.setDiagVector(d);
    return D;
}

double largerSide(Matrix const& A)
{
    return std::max(A.getRow(), A.getCol());
}

double difference(Matrix const& actual, Matrix const& expected)
{
    return (actual - expected).frobeniusNorm() /
           (expected.frobeniusNorm() * largerSide(expected) * epsilon);
}

double orthogonality(Matrix const& Q)
{
    return difference(Q.transpose() * Q, Matrix(Q.getCol(), Q.getCol(), Matrix::IDENTITY));
}

double solutionError(Matrix const& A, Vector const& x, Vector const& b)
{
    return (A * x - b).length() /
           ((A.frobeniusNorm() * x.length() + b.length()) * largerSide(A) * epsilon);
}

// How far the residuals of a least-squares solution are from orthogonal to the columns.
double leastSquaresError(Matrix const& A, Vector const& x, Vector const& b)
{
    double const norm = A.frobeniusNorm();
    return (A.transpose() * (1.0 / norm) * (A * x - b)).length() /
           ((norm * x.length() + b.length()) * largerSide(A) * epsilon);
}

double inversionError(Matrix const& A, Matrix const& X)
{
    Matrix const I(A.getRow(), A.getRow(), Matrix::IDENTITY);
    return (A * X - I).frobeniusNorm() /
           (A.frobeniusNorm() * X.frobeniusNorm() * A.getRow() * epsilon);
}

// What a subject does with one matrix A = U · diag · Vᵀ and a right-hand side; V = U where it asks
// for symmetry. A failure gives NaN.
struct Errors {
    double residual;
    double orthogonality = 0.0;
};

Errors when(bool success, Errors const& errors)
{
    return success ? errors : Errors{std::nan("")};
}

Errors ofSvd(Matrix const& A, Vector const&)
{
    int const k = std::min(A.getRow(), A.getCol());
    Matrix U(A.getRow(), k), V(A.getCol(), k);
    Vector S(k);
    bool const success = svd(A, U, S, V);
    return when(success, {difference(U * diagonal(S) * V.transpose(), A),
                          std::max(orthogonality(U), orthogonality(V))});
}

Errors ofFullSvd(Matrix const& A, Vector const&)
{
    int const m = A.getRow(), n = A.getCol(), k = std::min(m, n);
    Matrix U(m, m), V(n, n);
    Vector S(k);
    bool const success = fullSvd(A, U, S, V);
    return when(success, {difference(U(0, 0, m, k) * diagonal(S) * V(0, 0, n, k).transpose(), A),
                          std::max(orthogonality(U), orthogonality(V))});
}

Errors ofQr(Matrix const& A, Vector const&)
{
    int const k = std::min(A.getRow(), A.getCol());
    Matrix Q(A.getRow(), k), R(k, A.getCol());
    qr(A, Q, R);
    return {difference(Q * R, A), orthogonality(Q)};
}

Errors ofLq(Matrix const& A, Vector const&)
{
    int const k = std::min(A.getRow(), A.getCol());
    Matrix L(A.getRow(), k), Q(k, A.getCol());
    lq(A, L, Q);
    return {difference(L * Q, A), orthogonality(Q.transpose())};
}

Errors ofQrSolve(Matrix const& A, Vector const& b)
{
    Vector x(A.getCol());
    qrSolve(A, b, x);
    return {leastSquaresError(A, x, b)};
}

Errors ofSvdSolve(Matrix const& A, Vector const& b)
{
    Vector x(A.getCol());
    unsigned int rank = 0;
    double cond = 0.0;
    bool const success = svdSolve(A, b, x, rank, cond, 0.0);
    return when(success, {leastSquaresError(A, x, b)});
}

Errors ofSolver(Matrix const& A, Vector const& b)
{
    SVDSolver solver;
    solver.solve(A, b);
    return {leastSquaresError(A, solver.getVecSol(), b)};
}

Errors ofLuSolve(Matrix const& A, Vector const& b)
{
    Vector x(A.getCol());
    bool const success = luSolve(A, b, x);
    return when(success, {solutionError(A, x, b)});
}

Errors ofLuInverse(Matrix const& A, Vector const&)
{
    Matrix X(A.getRow(), A.getRow());
    bool const success = luInverse(A, X);
    return when(success, {inversionError(A, X)});
}

Errors ofEigen(Matrix const& A, Vector const&)
{
    Vector values(A.getRow());
    Matrix V(A.getRow(), A.getRow());
    bool const success = eigenValuesVectors(A, values, V);
    return when(success, {difference(V * diagonal(values) * V.transpose(), A), orthogonality(V)});
}

Errors ofCholesky(Matrix const& A, Vector const&)
{
    Matrix U(A.getRow(), A.getRow());
    bool const success = posDefDecomp(A, U);
    return when(success, {difference(U.transpose() * U, A)});
}

Errors ofPosDefSolve(Matrix const& A, Vector const& b)
{
    Vector x(A.getCol());
    bool const success = posDefSolve(A, b, x);
    return when(success, {solutionError(A, x, b)});
}

Errors ofPosDefInverse(Matrix const& A, Vector const&)
{
    Matrix X(A.getRow(), A.getRow());
    bool const success = posDefInverse(A, X);
    return when(success, {inversionError(A, X)});
}

using Shapes = std::vector<std::pair<int, int>>;
Shapes const square = {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {10, 10}, {33, 33}, {80, 80}};
Shapes const tall = {{1, 1}, {3, 3}, {33, 33}, {2, 1}, {9, 4}, {65, 2}, {200, 6}, {80, 60}};
Shapes const any = {{1, 1},   {3, 3}, {33, 33}, {80, 80}, {2, 1},   {9, 4},   {65, 2},
                    {200, 6}, {1, 2}, {4, 9},   {2, 65},  {6, 200}, {80, 60}, {60, 80}};

struct Subject {
    char const* name;
    Shapes const& shapes;
    Errors (*errors)(Matrix const& A, Vector const& b);
    bool isSymmetric = false;
    double largestCondition = 1e16;
};

Subject const subjects[] = {
    {"svd", any, ofSvd},
    {"fullSvd", any, ofFullSvd},
    {"qr", any, ofQr},
    {"lq", any, ofLq},
    {"qrSolve", tall, ofQrSolve},
    {"svdSolve", tall, ofSvdSolve},
    {"SVDSolver", tall, ofSolver},
    {"luSolve", square, ofLuSolve},
    {"luInverse", square, ofLuInverse},
    {"eigenValuesVectors", square, ofEigen, true},
    {"posDefDecomp", square, ofCholesky, true, 1e12},
    {"posDefSolve", square, ofPosDefSolve, true, 1e12},
    {"posDefInverse", square, ofPosDefInverse, true, 1e12},
};

Matrix orthogonal(RandomData& random, int m, int k)
{
    Matrix Q(m, k), R(k, k);
    qr(random.matrix(m, k), Q, R);
    return Q;
}

// Singular values from `scale` down to scale / condition, in equal ratios.
Matrix withCondition(RandomData& random, int m, int n, double condition, double scale,
                     bool symmetric)
{
    int const k = std::min(m, n);
    Vector s(k);
    for (int i = 0; i < k; ++i)
        s[i] = scale * std::pow(condition, k == 1 ? 0.0 : -1.0 * i / (k - 1));
    Matrix const U = orthogonal(random, m, k);
    Matrix const A = U * diagonal(s) * (symmetric ? U : orthogonal(random, n, k)).transpose();
    return symmetric ? 0.5 * (A + A.transpose()) : A;
}

}  // namespace

void reportDecompositions(Report& report)
{
    report.section(
        "Decompositions and linear solvers",
        R"(Worst scaled residual over tall, square and wide matrices from 1 × 1 to 200 × 6 and 80 × 80
whose singular values fall from 1 to 1 / condition in equal ratios, at the scales 1e-150, 1
and 1e150. A residual is |A - product of the factors|, |A·x - b|, |Aᵀ·(A·x - b)| or
|A·X - I| divided by the norms of what it is made of, the larger side and ε. The last column
is the worst |I - Qᵀ·Q| of the orthogonal factors, scaled alike. LAPACK's own tests allow 30.)",
        {"function", "1", "1e4", "1e8", "1e12", "1e16", "orthogonality"});
    for (Subject const& subject : subjects) {
        std::vector<std::string> cells;
        double worstOrthogonality = 0.0;
        for (double const condition : {1.0, 1e4, 1e8, 1e12, 1e16}) {
            double worst = 0.0;
            RandomData random(1);
            for (auto const& [m, n] : subject.shapes)
                for (double const scale : {1e-150, 1.0, 1e150}) {
                    if (condition > subject.largestCondition) continue;
                    Matrix const A =
                        withCondition(random, m, n, condition, scale, subject.isSymmetric);
                    Errors const errors = subject.errors(A, scale * random.vector(m));
                    if (!(errors.residual <= worst)) worst = errors.residual;
                    worstOrthogonality = std::max(worstOrthogonality, errors.orthogonality);
                }
            cells.push_back(condition > subject.largestCondition ? "" : report.error(worst, limit));
        }
        cells.push_back(worstOrthogonality == 0.0 ? "" : report.error(worstOrthogonality, limit));
        report.row(subject.name, cells);
    }
}
