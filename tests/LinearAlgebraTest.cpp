#include "math/LinearAlgebra.h"

#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr double epsilon = std::numeric_limits<double>::epsilon();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Bounds on residuals that are scaled by the norm, the size and the epsilon, as LAPACK's own test
// programs use them; correct routines stay far below, a wrong digit exceeds them by far.
constexpr double tolerance = 30.0;
constexpr double svdTolerance = 50.0;
constexpr double eigenTolerance = 60.0;

Matrix identity(int n)
{
    return Matrix(n, n, Matrix::IDENTITY);
}

Matrix diagonal(Vector const& d)
{
    Matrix result(d.size(), d.size());
    result.setDiagVector(d);
    return result;
}

// `error` in units of epsilon · scale; an error where the scale is 0 counts in full.
double scaled(double error, double scale)
{
    return error / (scale == 0.0 ? 1.0 : scale) / epsilon;
}

int largerSide(Matrix const& A)
{
    return std::max(A.getRow(), A.getCol());
}

double difference(Matrix const& actual, Matrix const& expected)
{
    return scaled((actual - expected).frobeniusNorm(),
                  expected.frobeniusNorm() * largerSide(expected));
}

double orthonormalityError(Matrix const& Q)
{
    return difference(Q.transpose() * Q, identity(Q.getCol()));
}

double inversionError(Matrix const& A, Matrix const& inverse)
{
    return scaled((A * inverse - identity(A.getRow())).frobeniusNorm(),
                  A.getRow() * A.frobeniusNorm() * inverse.frobeniusNorm());
}

// Backward error of a solution of A · x = b.
double residual(Matrix const& A, Vector const& x, Vector const& b)
{
    return scaled((A * x - b).length(),
                  (A.frobeniusNorm() * x.length() + b.length()) * largerSide(A));
}

// How far the residual of a least-squares solution is from orthogonal to the columns of A.
double leastSquaresError(Matrix const& A, Vector const& x, Vector const& b)
{
    double const norm = A.frobeniusNorm();
    double const unit = norm == 0.0 ? 1.0 : norm;  // keeps products in range
    return scaled((A.transpose() * (1.0 / unit) * (A * x - b)).length(),
                  (norm * x.length() + b.length()) * largerSide(A));
}

Matrix upperTriangle(Matrix A, double below = 0.0)
{
    for (int i = 0; i < A.getRow(); ++i) std::fill_n(A[i], std::min(i, A.getCol()), below);
    return A;
}

Matrix symmetric(Matrix const& A)
{
    return 0.5 * (A + A.transpose());
}

struct Case {
    std::string name;
    Matrix A;
    bool fullRank = true;
};

// One matrix at three scales and with rows or columns graded over twelve orders of magnitude.
void addGradings(std::vector<Case>& cases, Matrix const& A, RandomData& random)
{
    auto const grades = [&random](int n) {
        Vector result(n);
        for (double& grade : result) grade = std::pow(10.0, random.uniform(-6.0, 6.0));
        return diagonal(result);
    };
    std::string const shape = std::to_string(A.getRow()) + " x " + std::to_string(A.getCol());
    cases.push_back({shape, A});
    cases.push_back({shape + " tiny", A * 1e-150});
    cases.push_back({shape + " huge", A * 1e150});
    cases.push_back({shape + " graded rows", grades(A.getRow()) * A});
    cases.push_back({shape + " graded columns", A * grades(A.getCol())});
}

std::vector<Case> squareCases()
{
    RandomData random(11);
    std::vector<Case> cases;
    for (int const n : {1, 2, 3, 4, 7, 16, 33, 60}) addGradings(cases, random.matrix(n, n), random);
    return cases;
}

// Full rank where it is tall, square or wide; and rank 0, 1 and 2.
std::vector<Case> allCases()
{
    RandomData random(12);
    std::vector<Case> cases = squareCases();
    for (auto const& [m, n] :
         {std::pair{1, 2}, {1, 9}, {2, 1}, {9, 1}, {4, 3}, {3, 4}, {60, 7}, {7, 60}}) {
        addGradings(cases, random.matrix(m, n), random);
        cases.push_back({"zero", Matrix(m, n), false});
        cases.push_back({"rank 1", random.matrix(m, 1) * random.matrix(1, n), false});
        cases.push_back({"rank 2", random.matrix(m, 2) * random.matrix(2, n), false});
    }
    return cases;
}

TEST(LinearAlgebra, SingularValueFactorsReproduceTheMatrix)
{
    for (auto const& [name, A, fullRank] : allCases()) {
        SCOPED_TRACE(name);
        int const m = A.getRow();
        int const n = A.getCol();
        int const k = std::min(m, n);
        Matrix U(m, k), V(n, k), fullU(m, m), fullV(n, n);
        Vector S(k), fullS(k);
        ASSERT_TRUE(svd(A, U, S, V));
        ASSERT_TRUE(fullSvd(A, fullU, fullS, fullV));
        EXPECT_LT(difference(U * diagonal(S) * V.transpose(), A), svdTolerance);
        EXPECT_LT(
            difference(fullU(0, 0, m, k) * diagonal(fullS) * fullV(0, 0, n, k).transpose(), A),
            svdTolerance);
        for (Matrix const& Q : {U, V, fullU, fullV})
            EXPECT_LT(orthonormalityError(Q), svdTolerance);
        EXPECT_TRUE(std::is_sorted(S.cbegin(), S.cend(), std::greater<>()));
        EXPECT_GE(S[k - 1], 0.0);
        EXPECT_LT(scaled((S - fullS).length(), S[0]), svdTolerance);
    }
}

TEST(LinearAlgebra, SolutionsOfTallSystemsAreTheBest)
{
    for (auto const& [name, A, fullRank] : allCases()) {
        if (A.getRow() < A.getCol() || !fullRank) continue;
        SCOPED_TRACE(name);
        int const n = A.getCol();
        Vector const b = RandomData(13).vector(A.getRow()) * A.frobeniusNorm();
        Matrix U(A.getRow(), n), V(n, n);
        Vector S(n), x(n);
        unsigned int rank = 0;
        double cond = 0.0;
        ASSERT_TRUE(svd(A, U, S, V));
        qrSolve(A, b, x);
        EXPECT_LT(leastSquaresError(A, x, b), tolerance);
        ASSERT_TRUE(svdSolve(A, b, x, rank, cond, -1.0));
        EXPECT_LT(leastSquaresError(A, x, b), svdTolerance);
        EXPECT_EQ(rank, A.getNbCol());
        EXPECT_LT(scaled(std::abs(1.0 / cond - S[n - 1] / S[0]), n), svdTolerance);

        ASSERT_TRUE(svdSolve(A, x, rank, cond, 0.0));
        EXPECT_LT(scaled(std::abs(x.length() - 1.0), n), svdTolerance);
        EXPECT_LT(scaled(std::abs((A * x).length() - S[n - 1]), S[0] * A.getRow()), svdTolerance);
        EXPECT_EQ(rank, A.getNbCol());
    }
}

TEST(LinearAlgebra, HomogeneousRankHasAnAbsoluteToleranceToo)
{
    Vector x(2);
    unsigned int rank = 9;
    double cond = 0.0;
    ASSERT_TRUE(svdSolve(diagonal(Vector::of({1e-3, 1e-17})), x, rank, cond, -1.0));
    EXPECT_EQ(rank, 1U);
    EXPECT_DOUBLE_EQ(cond, 1e14);
    ASSERT_TRUE(svdSolve(diagonal(Vector::of({1e-20, 1e-21})), x, rank, cond, -1.0));
    EXPECT_EQ(rank, 0U);
    ASSERT_TRUE(svdSolve(diagonal(Vector::of({0.5, 0.25})), x, rank, cond, 0.25));
    EXPECT_EQ(rank, 1U);  // a value at the threshold does not count
    ASSERT_TRUE(svdSolve(Matrix::of({{3, 0}, {4, 0}}), x, rank, cond, -1.0));
    EXPECT_EQ(rank, 1U);
    EXPECT_EQ(cond, -1.0);
    EXPECT_DOUBLE_EQ(std::abs(x[1]), 1.0);
}

// The four conditions of Penrose 1955, which only the pseudo-inverse fulfils.
void expectPseudoInverse(Matrix const& A, Matrix const& X)
{
    double const norm = A.frobeniusNorm();
    double const scale = X.frobeniusNorm() * norm * largerSide(A);  // condition number · size
    Matrix const AX = A * X;
    Matrix const XA = X * A;
    EXPECT_LT(scaled((AX * A - A).frobeniusNorm(), norm * scale), svdTolerance);
    EXPECT_LT(scaled((XA * X - X).frobeniusNorm(), X.frobeniusNorm() * scale), svdTolerance);
    EXPECT_LT(scaled((AX - AX.transpose()).frobeniusNorm(), scale), svdTolerance);
    EXPECT_LT(scaled((XA - XA.transpose()).frobeniusNorm(), scale), svdTolerance);
}

TEST(LinearAlgebra, PseudoInverseFulfilsThePenroseConditions)
{
    for (auto const& [name, A, fullRank] : allCases()) {
        SCOPED_TRACE(name);
        double const cut = fullRank ? 0.0 : 1e-12;
        int const k = std::min(A.getRow(), A.getCol());
        Matrix X(A.getCol(), A.getRow()), Y = X, U(A.getRow(), k), V(A.getCol(), k);
        Vector S(k);
        unsigned int rank = 99;
        double cond = 0.0;
        ASSERT_TRUE(svdInverse(A, X, rank, cond, cut));
        expectPseudoInverse(A, X);
        EXPECT_EQ(cond == -1.0, static_cast<int>(rank) < k);

        ASSERT_TRUE(svdInverse(A, Y, rank, cond, static_cast<unsigned int>(k) - rank));
        EXPECT_LE(difference(Y, X), svdTolerance);
        ASSERT_TRUE(svd(A, U, S, V));
        singularValuesThreshold(S, rank, cond, cut);
        svdInverse(U, S, V, Y);
        EXPECT_LE(difference(Y, X), svdTolerance);
    }
}

template <class Limit>
void expectTruncation(Vector s, Limit limit, Vector const& left, double cond)
{
    unsigned int rank = 99;
    double c = 99.0;
    singularValuesThreshold(s, rank, c, limit);
    EXPECT_TRUE(s.equals(left, 0.0)) << limit;
    EXPECT_EQ(static_cast<long>(rank), std::ranges::count_if(left, [](double x) { return x > 0; }));
    EXPECT_EQ(c, cond) << limit;
}

TEST(LinearAlgebra, TruncatesSingularValues)
{
    Vector const values = Vector::of({4.0, 2.0, 4.0 * epsilon});
    Vector const two = Vector::of({4, 2, 0});
    Vector const none = Vector::of({0, 0, 0});
    Vector const above = Vector::of({4.0, 2.0, 6.0 * epsilon});
    expectTruncation(values, -1.0, two, -1.0);
    expectTruncation(above, -1.0, above, 4.0 / (6.0 * epsilon));
    expectTruncation(values, 0.5 * epsilon, values, 1.0 / epsilon);
    expectTruncation(values, 0.5, Vector::of({4, 0, 0}), -1.0);
    expectTruncation(values, 1.0, none, -1.0);
    expectTruncation(values, 0U, values, 1.0 / epsilon);
    expectTruncation(values, 1, two, -1.0);
    expectTruncation(values, std::size_t{3}, none, -1.0);
    expectTruncation(Vector(), -1.0, Vector(), 1.0);
    expectTruncation(Vector(), 0U, Vector(), 1.0);
}

TEST(LinearAlgebra, CovarianceIsTheInverseOfTheNormalMatrix)
{
    Matrix const A = RandomData(14).matrix(9, 4);
    Matrix U(9, 4), V(4, 4), cov(4, 4);
    Vector S(4);
    ASSERT_TRUE(svd(A, U, S, V));
    svdCovariance(S, V, cov);
    EXPECT_TRUE(cov.equals(cov.transpose(), 0.0));
    EXPECT_TRUE((cov * (A.transpose() * A)).equals(identity(4), 1e3 * epsilon));
    svdCovariance(Vector::of({1e-160, 0}), identity(2), cov = Matrix(2, 2));
    EXPECT_EQ(cov[0][0], std::numeric_limits<double>::infinity());
    EXPECT_EQ(cov[0][1], 0.0);
    EXPECT_EQ(cov[1][1], 0.0);
}

TEST(LinearAlgebra, TriangularFactorsReproduceTheMatrix)
{
    for (auto const& [name, A, fullRank] : allCases()) {
        SCOPED_TRACE(name);
        int const k = std::min(A.getRow(), A.getCol());
        Matrix Q(A.getRow(), k), R(k, A.getCol());
        qr(A, Q, R);
        EXPECT_LT(difference(Q * R, A), tolerance);
        EXPECT_LT(orthonormalityError(Q), tolerance);
        EXPECT_TRUE(R.equals(upperTriangle(R), 0.0));

        Matrix L(A.getRow(), k), P(k, A.getCol());
        lq(A, L, P);
        EXPECT_LT(difference(L * P, A), tolerance);
        EXPECT_LT(orthonormalityError(P.transpose()), tolerance);
        EXPECT_TRUE(L.transpose().equals(upperTriangle(L.transpose()), 0.0));
    }
}

TEST(LinearAlgebra, LuSolvesAndInverts)
{
    for (auto const& [name, A, fullRank] : squareCases()) {
        SCOPED_TRACE(name);
        int const n = A.getRow();
        Vector const b = A * RandomData(15).vector(n);
        Vector x(n);
        ASSERT_TRUE(luSolve(A, b, x));
        EXPECT_LT(residual(A, x, b), tolerance);

        Matrix inverse(n, n);
        ASSERT_TRUE(luInverse(A, inverse));
        EXPECT_LT(inversionError(A, inverse), tolerance);
    }
}

TEST(LinearAlgebra, EigenvectorsDiagonaliseASymmetricMatrix)
{
    for (auto const& [name, square, fullRank] : squareCases()) {
        SCOPED_TRACE(name);
        Matrix const A = symmetric(square);
        Vector values(A.getRow());
        Matrix vectors(A.getRow(), A.getRow());
        ASSERT_TRUE(eigenValuesVectors(upperTriangle(A, nan), values, vectors));
        EXPECT_TRUE(std::is_sorted(values.cbegin(), values.cend()));
        EXPECT_LT(orthonormalityError(vectors), eigenTolerance);
        EXPECT_LT(difference(vectors * diagonal(values) * vectors.transpose(), A), eigenTolerance);
    }
}

TEST(LinearAlgebra, CholeskyFactorsSolveAndInvert)
{
    for (auto const& [name, square, fullRank] : squareCases()) {
        SCOPED_TRACE(name);
        int const n = square.getRow();
        Matrix const B = square * (1.0 / square.frobeniusNorm());
        Matrix const A = (B.transpose() * B + 1e-3 * identity(n)) * square.frobeniusNorm();
        Matrix const half = upperTriangle(A, nan);
        Matrix U(n, n), inverse(n, n);
        Vector const b = RandomData(16).vector(n);
        Vector x(n);
        ASSERT_TRUE(posDefDecomp(half, U));
        EXPECT_LT(difference(U.transpose() * U, A), tolerance);
        EXPECT_TRUE(U.equals(upperTriangle(U), 0.0));
        ASSERT_TRUE(posDefSolve(half, b, x));
        EXPECT_LT(residual(A, x, b), tolerance);
        ASSERT_TRUE(posDefInverse(half, inverse));
        EXPECT_TRUE(inverse.equals(inverse.transpose(), 0.0));
        EXPECT_LT(inversionError(A, inverse), tolerance);
    }
}

// Outputs of all kinds for a matrix of order n, filled with what no result is.
struct Outputs {
    explicit Outputs(int n) : M(n, n), N(n, n), v(n)
    {
        std::fill(M.begin(), M.end(), untouched);
        std::fill(N.begin(), N.end(), untouched);
        std::fill(v.begin(), v.end(), untouched);
    }

    static constexpr double untouched = 77.0;
    Matrix M;
    Matrix N;
    Vector v;
    unsigned int rank = 77;
    double cond = untouched;
};

// A function that tells of failure by its result, and the outputs that it sets to 0 then.
struct Fallible {
    std::string name;
    std::string zeroed;
    bool (*call)(Matrix const& A, Vector const& b, Outputs& o);
    bool writes(char output) const { return zeroed.find(output) != std::string::npos; }
};

using In = Matrix const&;
using Rhs = Vector const&;
using Out = Outputs&;
Fallible const fallibles[] = {
    {"svd", "MNv", [](In A, Rhs, Out o) { return svd(A, o.M, o.v, o.N); }},
    {"fullSvd", "MNv", [](In A, Rhs, Out o) { return fullSvd(A, o.M, o.v, o.N); }},
    {"svdSolve", "", [](In A, Rhs b, Out o) { return svdSolve(A, b, o.v, o.rank, o.cond, -1.0); }},
    {"svdSolve 0", "v", [](In A, Rhs, Out o) { return svdSolve(A, o.v, o.rank, o.cond, -1.0); }},
    {"svdInverse", "M", [](In A, Rhs, Out o) { return svdInverse(A, o.M, o.rank, o.cond, -1.0); }},
    {"svdInverse n", "M", [](In A, Rhs, Out o) { return svdInverse(A, o.M, o.rank, o.cond, 0); }},
    {"luSolve", "v", [](In A, Rhs b, Out o) { return luSolve(A, b, o.v); }},
    {"luInverse", "M", [](In A, Rhs, Out o) { return luInverse(A, o.M); }},
    {"luInverse in place", "M", [](In A, Rhs, Out o) { return luInverse(o.M = A); }},
    {"eigen", "Mv", [](In A, Rhs, Out o) { return eigenValuesVectors(A, o.v, o.M); }},
    {"posDefSolve", "v", [](In A, Rhs b, Out o) { return posDefSolve(A, b, o.v); }},
    {"posDefDecomp", "M", [](In A, Rhs, Out o) { return posDefDecomp(A, o.M); }},
    {"posDefInverse", "M", [](In A, Rhs, Out o) { return posDefInverse(A, o.M); }},
};

void expectFailure(Fallible const& f, Matrix const& A, Vector const& b)
{
    SCOPED_TRACE(f.name);
    Outputs o(A.getRow());
    EXPECT_FALSE(f.call(A, b, o));
    auto const expectZeroed = [&f](char output, TVector<double> const& values) {
        double const expected = f.writes(output) ? 0.0 : Outputs::untouched;
        for (double const x : values) EXPECT_EQ(x, expected) << output;
    };
    expectZeroed('M', o.M);
    expectZeroed('N', o.N);
    expectZeroed('v', o.v);
}

char const* const refused = "Internal error, Lapack report invalid parameter value";

TEST(LinearAlgebra, NonFiniteInputFailsAndNeverHangs)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (double const bad : {nan, infinity, -infinity})
        for (int const n : {1, 3, 20, 60})
            for (int const row : {0, n / 2, n - 1}) {
                Matrix A = identity(n);
                A[row][n - 1] = bad;
                Vector const b = A.getColVector(n - 1);
                Outputs o(n);
                for (Fallible const& f : fallibles) {
                    expectFailure(f, A, Vector(n));
                    if (f.name.ends_with("Solve")) expectFailure(f, identity(n), b);
                }
                EXPECT_MATH_ERROR(qr(A, o.M, o.N), refused);
                EXPECT_MATH_ERROR(lq(A, o.M, o.N), refused);
                EXPECT_MATH_ERROR(qrSolve(A, Vector(n), o.v), refused);
                EXPECT_MATH_ERROR(qrSolve(identity(n), b, o.v), refused);
            }
}

TEST(LinearAlgebra, SingularAndIndefiniteMatricesFailWithZeros)
{
    Vector const b = Vector::of({1, 1});
    for (Fallible const& f : fallibles) {
        if (f.name.starts_with("lu")) expectFailure(f, Matrix::of({{1, 2}, {2, 4}}), b);
        if (f.name.starts_with("posDef")) expectFailure(f, Matrix::of({{1, 2}, {2, 1}}), b);
    }
    Vector x(2);
    EXPECT_MATH_ERROR(qrSolve(Matrix::of({{1, 0}, {2, 0}}), b, x), refused);
}

TEST(LinearAlgebra, EmptyMatricesLeaveTheOutputsAlone)
{
    Outputs o(0);
    for (Fallible const& f : fallibles) {
        bool const isSolve = f.name.starts_with("svdSolve");
        EXPECT_TRUE(f.call(Matrix(), Vector(), o)) << f.name;
        EXPECT_EQ(std::exchange(o.rank, 77), isSolve ? 0 : 77) << f.name;
        EXPECT_EQ(std::exchange(o.cond, Outputs::untouched), isSolve ? 1.0 : Outputs::untouched);
    }
    Matrix tall(3, 0), wide(0, 3), square = Outputs(3).M;
    EXPECT_TRUE(fullSvd(tall, square, o.v, o.M));
    EXPECT_EQ(square[2][2], Outputs::untouched);
    EXPECT_TRUE(svdInverse(tall, wide, o.rank, o.cond, 4));  // before the count is looked at
    EXPECT_EQ(o.rank, 77U);
    qr(tall, tall, o.M);
    lq(wide, o.M, wide);
    qrSolve(tall, Vector(3), o.v);
    svdInverse(tall, o.v, Matrix(), wide);
}

TEST(LinearAlgebra, ChecksShapesInOrderBeforeAnythingElse)
{
    // Of each call only the last outputs are of a wrong shape, so that it meets the next check.
    Matrix const A(3, 2), wide(2, 3), square(3, 3), two(2, 2);
    Matrix const notFinite = upperTriangle(A, nan);
    Matrix a(3, 2), s(3, 3), t(2, 2), w(2, 3), bad(9, 9);
    Vector const c(3), d(2), badRhs(9);
    Vector v(9), v3(3);
    unsigned int r = 77;
    double k = 77.0;
    char const* const needTall = "Invalid matrix size, need m >= n";
    char const* const needSquare = "Invalid matrix size, need square matrix";
    char const* const badCount = "Invalid nbThresholdedValues, value greater than vector s size";
    char const* const badB = "Invalid vector B size";
    char const* const badX = "Invalid vector X size";

    EXPECT_MATH_ERROR(svd(A, bad, v, bad), "Invalid matrix U size");
    EXPECT_MATH_ERROR(svd(A, a, v, bad), "Invalid matrix V size");
    EXPECT_MATH_ERROR(svd(A, a, v, t), "Invalid vector S size");
    EXPECT_MATH_ERROR(svd(square, s, v3, s), "Output matrices must be distinct");
    EXPECT_MATH_ERROR(fullSvd(A, a, v, bad), "Invalid matrix U size");
    EXPECT_MATH_ERROR(fullSvd(A, s, v, bad), "Invalid matrix V size");
    EXPECT_MATH_ERROR(fullSvd(A, s, v, t), "Invalid vector S size");
    EXPECT_MATH_ERROR(svdSolve(wide, badRhs, v, r, k, 0.0), needTall);
    EXPECT_MATH_ERROR(svdSolve(A, badRhs, v, r, k, 0.0), badB);
    EXPECT_MATH_ERROR(svdSolve(A, c, v, r, k, 0.0), badX);
    EXPECT_MATH_ERROR(svdSolve(wide, v, r, k, 0.0), needTall);
    EXPECT_MATH_ERROR(svdSolve(A, v, r, k, 0.0), badX);
    EXPECT_MATH_ERROR(singularValuesThreshold(v, r, k, 10U), badCount);
    EXPECT_MATH_ERROR(singularValuesThreshold(v, r, k, -1), badCount);
    EXPECT_MATH_ERROR(svdInverse(A, bad, r, k, 0.0), "Invalid matrix invA size");
    EXPECT_MATH_ERROR(svdInverse(A, bad, r, k, 10U), "Invalid matrix invA size");
    EXPECT_MATH_ERROR(svdInverse(notFinite, w, r, k, 3L), badCount);
    EXPECT_MATH_ERROR(svdInverse(square, badRhs, wide, bad), "Invalid matrix U size");
    EXPECT_MATH_ERROR(svdInverse(A, badRhs, wide, bad), "Invalid vector S size");
    EXPECT_MATH_ERROR(svdInverse(A, d, wide, bad), "Invalid matrix V size");
    EXPECT_MATH_ERROR(svdInverse(A, d, two, bad), "Invalid matrix invA size");
    EXPECT_MATH_ERROR(svdCovariance(c, A, bad), "Invalid matrix V size");
    EXPECT_MATH_ERROR(svdCovariance(c, square, bad), "Invalid matrix Cov size");
    EXPECT_MATH_ERROR(qrSolve(wide, badRhs, v), needTall);
    EXPECT_MATH_ERROR(qrSolve(A, badRhs, v), badB);
    EXPECT_MATH_ERROR(qrSolve(A, c, v), badX);
    EXPECT_MATH_ERROR(qr(A, bad, bad), "Invalid matrix Q size");
    EXPECT_MATH_ERROR(qr(A, a, bad), "Invalid matrix R size");
    EXPECT_MATH_ERROR(qr(square, s, s), "Output matrices must be distinct");
    EXPECT_MATH_ERROR(lq(A, bad, bad), "Invalid matrix L size");
    EXPECT_MATH_ERROR(lq(A, a, bad), "Invalid matrix Q size");
    EXPECT_MATH_ERROR(luSolve(A, badRhs, v), needSquare);
    EXPECT_MATH_ERROR(luSolve(square, badRhs, v), badB);
    EXPECT_MATH_ERROR(luSolve(square, c, v), badX);
    EXPECT_MATH_ERROR(luInverse(a), needSquare);
    EXPECT_MATH_ERROR(luInverse(A, bad), "Invalid invA matrix size");
    EXPECT_MATH_ERROR(luInverse(A, a), needSquare);
    EXPECT_MATH_ERROR(eigenValuesVectors(A, v, bad), "Matrix a should be square");
    EXPECT_MATH_ERROR(eigenValuesVectors(square, v, bad), "Invalid eigenValues vector size");
    EXPECT_MATH_ERROR(eigenValuesVectors(square, v3, bad), "Invalid eigenVectors matrix size");
    EXPECT_MATH_ERROR(posDefSolve(A, badRhs, v), needSquare);
    EXPECT_MATH_ERROR(posDefSolve(square, badRhs, v), badB);
    EXPECT_MATH_ERROR(posDefSolve(square, c, v), badX);
    EXPECT_MATH_ERROR(posDefDecomp(A, bad), needSquare);
    EXPECT_MATH_ERROR(posDefDecomp(square, bad), "Invalid U matrix size");
    EXPECT_MATH_ERROR(posDefInverse(A, bad), needSquare);
    EXPECT_MATH_ERROR(posDefInverse(square, bad), "Invalid invA matrix size");

    EXPECT_EQ(r, 77U);
    EXPECT_EQ(k, 77.0);
}

// An output may be the input or share its storage; all others that share it keep their values.
TEST(LinearAlgebra, OutputsMayShareStorageWithInputsAndEachOther)
{
    Matrix const general = RandomData(18).matrix(3, 3) + 3.0 * identity(3);
    Vector const b = Vector::of({1, 2, 3});
    for (Fallible const& f : fallibles) {
        SCOPED_TRACE(f.name);
        bool const needsSymmetry = f.name == "eigen" || f.name.starts_with("posDef");
        Matrix const A = needsSymmetry ? symmetric(general) : general;
        Matrix const values(A.cbegin(), 3, 3);
        Outputs apart(3), shared(3), same(3);
        shared.M = shared.N = same.M = A;
        shared.v = same.v = b;
        ASSERT_TRUE(f.call(A, b, apart));
        ASSERT_TRUE(f.call(A, b, shared));
        ASSERT_TRUE(f.call(same.M, same.v, same));
        EXPECT_NE(shared.M.cbegin() == A.cbegin(), f.writes('M'));
        EXPECT_NE(shared.v.cbegin() == b.cbegin(), f.name == "svdSolve" || f.writes('v'));
        EXPECT_TRUE(!f.writes('M') ||
                    (shared.M.equals(apart.M, 0.0) && same.M.equals(apart.M, 0.0)));
        EXPECT_TRUE(!f.writes('v') ||
                    (shared.v.equals(apart.v, 0.0) && same.v.equals(apart.v, 0.0)));
        EXPECT_TRUE(A.equals(values, 0.0));
        EXPECT_TRUE(b.equals(Vector::of({1, 2, 3}), 0.0));
    }
    Matrix Q = general, R = general, expectedQ(3, 3), expectedR(3, 3);
    qr(general, expectedQ, expectedR);
    qr(R, Q, R);
    EXPECT_TRUE(Q.equals(expectedQ, 0.0) && R.equals(expectedR, 0.0));
    svdInverse(expectedQ, b, expectedR, Q);
    svdCovariance(b, expectedR, R);
    Matrix inverse = expectedR, cov = expectedR;
    svdInverse(expectedQ, b, inverse, inverse);
    svdCovariance(b, cov, cov);
    EXPECT_TRUE(inverse.equals(Q, 0.0) && cov.equals(R, 0.0));
}

}  // namespace
