#include "math/LinearAlgebra.h"

#include "accuracy/DecompositionErrors.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

namespace {

constexpr double epsilon = std::numeric_limits<double>::epsilon();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

// Bound on scaled errors, that of LAPACK's own test programs: correct routines stay far below, a
// wrong digit exceeds it by far.
constexpr double tolerance = 30.0;

Matrix identity(int n)
{
    return Matrix(n, n, Matrix::IDENTITY);
}

TEST(LinearAlgebra, HomogeneousRankHasAnAbsoluteToleranceToo)
{
    std::tuple<Matrix, double, unsigned int, double> const cases[] = {
        {diagonal(Vector::of({1e-3, 1e-17})), -1.0, 1, 1e14},
        {diagonal(Vector::of({1e-20, 1e-21})), -1.0, 0, 10.0},
        {diagonal(Vector::of({0.5, 0.25})), 0.25, 1, 2.0},  // one at the threshold does not count
        {Matrix::of({{3, 0}, {4, 0}}), -1.0, 1, -1.0},
    };
    for (auto const& [A, rcond, expectedRank, expectedCond] : cases) {
        Vector x(2);
        unsigned int rank = 9;
        double cond = 0.0;
        ASSERT_TRUE(svdSolve(A, x, rank, cond, rcond));
        EXPECT_EQ(rank, expectedRank);
        EXPECT_DOUBLE_EQ(cond, expectedCond);
        EXPECT_DOUBLE_EQ(std::abs(x[1]), 1.0);
    }
}

void expectPseudoInverse(Matrix const& A, int trueRank)
{
    int const m = A.getRow(), n = A.getCol(), k = std::min(m, n);
    double const cut = trueRank == k ? 0.0 : 1e-12;
    Matrix X(n, m), Y = X, U(m, k), V(n, k);
    Vector S(k);
    unsigned int rank = 99;
    double cond = 0.0;
    ASSERT_TRUE(svdInverse(A, X, rank, cond, cut));
    EXPECT_EQ(static_cast<int>(rank), trueRank);
    EXPECT_EQ(cond == -1.0, trueRank < k);
    // R. Penrose 1955: the pseudo-inverse alone fulfils the four.
    double const a = A.frobeniusNorm(), x = X.frobeniusNorm();
    double const condition = a * x * std::max(m, n);
    Matrix const AX = A * X, XA = X * A;
    EXPECT_LT(scaledError((AX * A - A).frobeniusNorm(), a * condition), tolerance);
    EXPECT_LT(scaledError((XA * X - X).frobeniusNorm(), x * condition), tolerance);
    for (Matrix const& P : {AX, XA})
        EXPECT_LT(scaledError((P - P.transpose()).frobeniusNorm(), condition), tolerance);

    ASSERT_TRUE(svdInverse(A, Y, rank, cond, k - trueRank));
    EXPECT_LT(scaledDifference(Y, X), tolerance);
    ASSERT_TRUE(svd(A, U, S, V));
    singularValuesThreshold(S, rank, cond, cut);
    svdInverse(U, S, V, Y);
    EXPECT_LT(scaledDifference(Y, X), tolerance);
}

// The smallest singular value is the least |A·x| of unit vectors.
void expectNullVector(Matrix const& A)
{
    int const m = A.getRow(), n = A.getCol();
    Matrix U(m, n), V(n, n);
    Vector S(n), x(n);
    unsigned int rank = 99;
    double cond = 0.0;
    ASSERT_TRUE(svd(A, U, S, V));
    ASSERT_TRUE(svdSolve(A, x, rank, cond, 0.0));
    EXPECT_EQ(rank, A.getNbCol());
    EXPECT_LT(scaledError(std::abs(1.0 / cond - S[n - 1] / S[0]), n), tolerance);
    EXPECT_LT(scaledError(std::abs(x.length() - 1.0), n), tolerance);
    EXPECT_LT(scaledError(std::abs((A * x).length() - S[n - 1]), S[0] * m), tolerance);
}

TEST(LinearAlgebra, PseudoInversesAndNullVectorsAgreeWithTheSingularValues)
{
    RandomData random(12);
    constexpr std::pair<int, int> shapes[] = {{1, 1}, {3, 3}, {33, 33}, {1, 9},  {9, 1},
                                              {2, 1}, {4, 3}, {3, 4},   {60, 7}, {7, 60}};
    for (auto const& [m, n] : shapes)
        for (int const rank : {0, 1, 2, std::min(m, n)})
            for (double const scale : {1e-150, 1.0, 1e150}) {
                if (rank > std::min(m, n)) continue;
                SCOPED_TRACE(testing::Message() << m << " x " << n << " of rank " << rank);
                Matrix const A = scale * random.matrix(m, rank) * random.matrix(rank, n);
                expectPseudoInverse(A, rank);
                if (rank == n) expectNullVector(A);
            }
}

TEST(LinearAlgebra, TruncatesSingularValues)
{
    auto const expectTruncation = [](Vector s, auto limit, unsigned int rank, double cond) {
        Vector left = s;
        std::fill(left.begin() + rank, left.end(), 0.0);
        unsigned int r = 99;
        double c = 99.0;
        singularValuesThreshold(s, r, c, limit);
        EXPECT_TRUE(isNear(s, left, 0)) << limit;
        EXPECT_EQ(r, rank) << limit;
        EXPECT_EQ(c, cond) << limit;
    };
    Vector const values = Vector::of({4.0, 2.0, 4.0 * epsilon});
    expectTruncation(values, -1.0, 2, -1.0);
    expectTruncation(Vector::of({4.0, 2.0, 6.0 * epsilon}), -1.0, 3, 4.0 / (6.0 * epsilon));
    expectTruncation(values, 0.5 * epsilon, 3, 1.0 / epsilon);
    expectTruncation(values, 0.5, 1, -1.0);
    expectTruncation(values, 1.0, 0, -1.0);
    expectTruncation(values, 0U, 3, 1.0 / epsilon);
    expectTruncation(values, 1, 2, -1.0);
    expectTruncation(values, std::size_t{3}, 0, -1.0);
    expectTruncation(Vector(), -1.0, 0, 1.0);
    expectTruncation(Vector(), 0U, 0, 1.0);
}

TEST(LinearAlgebra, CovarianceIsTheInverseOfTheNormalMatrix)
{
    Matrix const A = RandomData(14).matrix(9, 4);
    Matrix U(9, 4), V(4, 4), cov(4, 4), tiny(2, 2);
    Vector S(4);
    ASSERT_TRUE(svd(A, U, S, V));
    svdCovariance(S, V, cov);
    EXPECT_TRUE(isNear(cov, cov.transpose(), 0));
    EXPECT_LT(inversionError(A.transpose() * A, cov), tolerance);
    svdCovariance(Vector::of({1e-160, 0}), identity(2), tiny);
    EXPECT_EQ(tiny[0][0], infinity);
    EXPECT_TRUE(tiny[0][1] == 0.0 && tiny[1][0] == 0.0 && tiny[1][1] == 0.0);
}

// Outputs of all kinds for a matrix of order n, filled with what no result is.
struct Outputs {
    explicit Outputs(int n) : M(n, n), v(n)
    {
        std::fill(M.begin(), M.end(), untouched);
        std::fill(v.begin(), v.end(), untouched);
        N = M;
    }

    static constexpr double untouched = 77.0;
    Matrix M, N;
    Vector v;
    unsigned int rank = 77;
    double cond = untouched;
};

// A function that tells of failure by its result, and the outputs that it sets, to 0 on failure.
struct Fallible {
    std::string name;
    std::string outputs;
    bool (*call)(Matrix const& A, Vector const& b, Outputs& o);
    bool writes(char output) const { return outputs.find(output) != std::string::npos; }
};

using In = Matrix const&;
using Rhs = Vector const&;
using Out = Outputs&;
Fallible const fallibles[] = {
    {"svd", "MNv", [](In A, Rhs, Out o) { return svd(A, o.M, o.v, o.N); }},
    {"fullSvd", "MNv", [](In A, Rhs, Out o) { return fullSvd(A, o.M, o.v, o.N); }},
    {"svdSolve", "v", [](In A, Rhs b, Out o) { return svdSolve(A, b, o.v, o.rank, o.cond, -1.0); }},
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
    Outputs const before = o;
    EXPECT_FALSE(f.call(A, b, o));
    bool const zeroes = f.name != "svdSolve";  // which leaves its output alone
    auto const expected = [&](char output, auto const& untouched) {
        return f.writes(output) && zeroes ? 0.0 * untouched : untouched;
    };
    EXPECT_TRUE(isNear(o.M, expected('M', before.M), 0));
    EXPECT_TRUE(isNear(o.N, expected('N', before.N), 0));
    EXPECT_TRUE(isNear(o.v, expected('v', before.v), 0));
}

char const* const refused = "Internal error, Lapack report invalid parameter value";

TEST(LinearAlgebra, NonFiniteInputFailsAndNeverHangs)
{
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
    Vector x = Vector::of({1, 1});
    for (Fallible const& f : fallibles) {
        if (f.name.starts_with("lu")) expectFailure(f, Matrix::of({{1, 2}, {2, 4}}), x);
        if (f.name.starts_with("posDef")) expectFailure(f, Matrix::of({{1, 2}, {2, 1}}), x);
    }
    EXPECT_MATH_ERROR(qrSolve(Matrix::of({{1, 0}, {2, 0}}), x, x), refused);
}

TEST(LinearAlgebra, FactorsThatOverflowAreRefused)
{
    Matrix const A = Matrix::of({{1.7e308, 1.7e308}, {1.7e308, -1.5e308}});
    Outputs o(2);
    EXPECT_MATH_ERROR(qr(A, o.M, o.N), "Matrix elements too large");
    EXPECT_MATH_ERROR(lq(A, o.N, o.M), "Matrix elements too large");
    EXPECT_EQ(o.M[0][0], Outputs::untouched);
    EXPECT_EQ(o.N[0][0], Outputs::untouched);
    Matrix const last = Matrix::of({{1, 2, 2}, {0, 0, 1.7e308}});  // its factor L would fit
    Matrix Q(2, 3);
    EXPECT_MATH_ERROR(lq(last, o.M, Q), "Matrix elements too large");
    qr(0.25 * A, o.M, o.N);
    EXPECT_TRUE(isNear(o.M.transpose() * o.M, identity(2), 1e-15));
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
    Matrix a(3, 2), s(3, 3), t(3, 3), w(2, 3), bad(9, 9);
    Vector const c(3), d(2), badRhs(9);
    Vector v(9), v3(3);
    unsigned int r = 77;
    double k = 77.0;
    char const* const needTall = "Invalid matrix size, need m >= n";
    char const* const needSquare = "Invalid matrix size, need square matrix";
    char const* const badCount = "Invalid nbThresholdedValues, value greater than vector s size";
    char const* const badB = "Invalid vector B size";
    char const* const badX = "Invalid vector X size";
    char const* const notDistinct = "Output matrices must be distinct";

    for (auto const decompose : {svd, fullSvd}) {
        EXPECT_MATH_ERROR(decompose(square, bad, v, bad), "Invalid matrix U size");
        EXPECT_MATH_ERROR(decompose(square, s, v, bad), "Invalid matrix V size");
        EXPECT_MATH_ERROR(decompose(square, s, v, t), "Invalid vector S size");
        EXPECT_MATH_ERROR(decompose(square, s, v3, s), notDistinct);
    }
    EXPECT_MATH_ERROR(svdSolve(wide, badRhs, v, r, k, 0.0), needTall);
    EXPECT_MATH_ERROR(svdSolve(A, badRhs, v, r, k, 0.0), badB);
    EXPECT_MATH_ERROR(svdSolve(A, c, v, r, k, 0.0), badX);
    EXPECT_MATH_ERROR(svdSolve(wide, v, r, k, 0.0), needTall);
    EXPECT_MATH_ERROR(svdSolve(A, v, r, k, 0.0), badX);
    EXPECT_MATH_ERROR(singularValuesThreshold(v, r, k, 10U), badCount);
    EXPECT_MATH_ERROR(singularValuesThreshold(v, r, k, -1), badCount);
    EXPECT_MATH_ERROR(svdInverse(A, bad, r, k, 0.0), "Invalid matrix invA size");
    EXPECT_MATH_ERROR(svdInverse(A, bad, r, k, 10U), "Invalid matrix invA size");
    EXPECT_MATH_ERROR(svdInverse(nan * A, w, r, k, 3L), badCount);
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
    EXPECT_MATH_ERROR(qr(square, s, s), notDistinct);
    EXPECT_MATH_ERROR(lq(A, bad, bad), "Invalid matrix L size");
    EXPECT_MATH_ERROR(lq(A, a, bad), "Invalid matrix Q size");
    for (auto const solve : {luSolve, posDefSolve}) {
        EXPECT_MATH_ERROR(solve(A, badRhs, v), needSquare);
        EXPECT_MATH_ERROR(solve(square, badRhs, v), badB);
        EXPECT_MATH_ERROR(solve(square, c, v), badX);
    }
    EXPECT_MATH_ERROR(luInverse(a), needSquare);
    EXPECT_MATH_ERROR(luInverse(A, bad), "Invalid invA matrix size");
    EXPECT_MATH_ERROR(luInverse(A, a), needSquare);
    EXPECT_MATH_ERROR(eigenValuesVectors(A, v, bad), "Matrix a should be square");
    EXPECT_MATH_ERROR(eigenValuesVectors(square, v, bad), "Invalid eigenValues vector size");
    EXPECT_MATH_ERROR(eigenValuesVectors(square, v3, bad), "Invalid eigenVectors matrix size");
    for (auto const factor : {posDefDecomp, posDefInverse})
        EXPECT_MATH_ERROR(factor(A, bad), needSquare);
    EXPECT_MATH_ERROR(posDefDecomp(square, bad), "Invalid U matrix size");
    EXPECT_MATH_ERROR(posDefInverse(square, bad), "Invalid invA matrix size");

    EXPECT_EQ(r, 77U);
    EXPECT_EQ(k, 77.0);
}

// An output may be the input or share its storage; all others that share it keep their values.
TEST(LinearAlgebra, OutputsMayShareStorageWithInputsAndEachOther)
{
    Matrix const general = RandomData(18).matrix(3, 3) + 3.0 * identity(3);
    for (Fallible const& f : fallibles) {
        SCOPED_TRACE(f.name);
        bool const needsSymmetry = f.name == "eigen" || f.name.starts_with("posDef");
        Matrix const A = needsSymmetry ? symmetric(general) : general, copyOfA(A.cbegin(), 3, 3);
        Vector const b = Vector::of({1, 2, 3});
        Outputs apart(3), shared(3), same(3);
        shared.M = shared.N = same.M = A;
        shared.v = same.v = b;
        ASSERT_TRUE(f.call(A, b, apart));
        ASSERT_TRUE(f.call(A, b, shared));
        ASSERT_TRUE(f.call(same.M, same.v, same));
        EXPECT_EQ(shared.M.cbegin() == A.cbegin(), !f.writes('M'));
        EXPECT_EQ(shared.v.cbegin() == b.cbegin(), !f.writes('v'));
        for (Outputs const& o : {shared, same}) {
            EXPECT_TRUE(isNear(o.M, f.writes('M') ? apart.M : A, 0));
            EXPECT_TRUE(isNear(o.v, f.writes('v') ? apart.v : b, 0));
        }
        EXPECT_TRUE(isNear(A, copyOfA, 0) && isNear(b, Vector::of({1, 2, 3}), 0));
    }
    Matrix Q = general, R = general, expectedQ(3, 3), expectedR(3, 3);
    qr(general, expectedQ, expectedR);
    qr(R, Q, R);
    EXPECT_TRUE(isNear(Q, expectedQ, 0) && isNear(R, expectedR, 0));
    Vector const S = Vector::of({3, 2, 1});
    Matrix inverse = R, cov = R, expectedInverse(3, 3), expectedCov(3, 3);
    svdInverse(Q, S, R, expectedInverse);
    svdCovariance(S, R, expectedCov);
    svdInverse(Q, S, inverse, inverse);
    svdCovariance(S, cov, cov);
    EXPECT_TRUE(isNear(inverse, expectedInverse, 0) && isNear(cov, expectedCov, 0));
}

// Of five eigenvalues that vanish; DSYEVR alone may leave their vectors orthogonal to 1e-7.
TEST(LinearAlgebra, EigenvectorsOfALowRankAreOrthogonalToo)
{
    RandomData random(29);
    for (int trial = 0; trial < 1000; ++trial) {
        Matrix A(7, 7);
        std::fill(A.begin(), A.end(), trial == 0 ? -6.25 : random.integer(-100, 100) / 8.0);
        A[0][0] = trial == 0 ? 0x1.f3f3f3f3f3f3fp-12 : random.uniform(-1e-3, 1e-3);
        A = A.transpose() * A;
        Vector values(7);
        Matrix vectors(7, 7);
        ASSERT_TRUE(eigenValuesVectors(A, values, vectors));
        Matrix const error = vectors.transpose() * vectors - identity(7);
        EXPECT_LT(error.frobeniusNorm(), 7 * tolerance * epsilon);
    }
}

}  // namespace
