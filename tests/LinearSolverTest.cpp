#include "math/LinearAlgebra.h"
#include "math/SVDSolver.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <string>
#include <utility>

namespace {

constexpr double epsilon = std::numeric_limits<double>::epsilon();

// Rows and columns. Short systems are decomposed as they are, tall ones after a reduction, block by
// block; both kinds and the border.
constexpr std::pair<int, int> shapes[] = {{3, 0},  {1, 1},  {4, 4},   {5, 4},   {63, 2},
                                          {64, 2}, {65, 2}, {500, 1}, {200, 6}, {2500, 3}};

TEST(SVDSolver, AgreesWithTheGeneralLeastSquaresRoutine)
{
    RandomData random(31);
    for (auto const& [m, n] : shapes) {
        SCOPED_TRACE(std::to_string(m) + " x " + std::to_string(n));
        Matrix const A = random.matrix(m, n);
        Vector const b = random.vector(m);
        SVDSolver solver;
        solver.solve(A, b);

        Vector x(n);
        unsigned int rank = 0;
        double cond = 0.0;
        ASSERT_TRUE(svdSolve(A, b, x, rank, cond, -1.0));
        Vector const r = A * x - b;
        Matrix normalInverse = (A.transpose() * A).inverse();
        double const tolerance = 1e4 * epsilon;  // conditions up to about 100, squared at worst
        EXPECT_TRUE(isNear(solver.getVecSol(), x, tolerance * x.length()));
        EXPECT_EQ(solver.getMatRank(), rank);
        EXPECT_NEAR(solver.getMatCond(), cond, tolerance * cond);
        EXPECT_TRUE(isNear(solver.getResiduals(), r, tolerance * b.length()));
        EXPECT_NEAR(solver.getRMS(), r.length() / std::sqrt(m), tolerance);
        EXPECT_NEAR(solver.getSEUW(), m > n ? r.length() / std::sqrt(m - n) : -1.0, tolerance);
        normalInverse *= solver.getSEUW() * solver.getSEUW();
        EXPECT_TRUE(
            isNear(solver.getCov(), normalInverse, tolerance * normalInverse.frobeniusNorm()));
        EXPECT_EQ(solver.getNbEquations(), static_cast<unsigned int>(m));
        EXPECT_EQ(solver.getNbVariables(), static_cast<unsigned int>(n));
    }
}

TEST(SVDSolver, TakesTheSolutionOfMinimumNormWhereColumnsDepend)
{
    for (int const m : {3, 300}) {
        SCOPED_TRACE(m);
        Matrix A(m, 3);  // of rank 1 without any rounding: x[0] + 2·x[1] = 5 is all it says
        A[0][0] = 1.0;
        A[0][1] = 2.0;
        Vector b(m);
        b[0] = 5.0;
        SVDSolver solver;
        solver.solve(A, b);
        double const tolerance = 32.0 * epsilon;
        EXPECT_EQ(solver.getMatRank(), 1U);
        EXPECT_EQ(solver.getMatCond(), -1.0);
        EXPECT_TRUE(isNear(solver.getVecSol(), Vector::of({1, 2, 0}), tolerance));
        EXPECT_LT(solver.getRMS(), tolerance);
    }
}

TEST(SVDSolver, HomogeneousSolutionIsTheUnitVectorOfTheNullSpace)
{
    RandomData random(32);
    for (auto const& [m, n] : shapes) {
        SCOPED_TRACE(std::to_string(m) + " x " + std::to_string(n));
        Vector const direction = random.vector(n);
        Vector const expected = direction / direction.length();
        Matrix const column(expected.begin(), n, 1), any = random.matrix(m, n);
        Matrix const A = any - any * column * column.transpose();
        SVDSolver solver;
        solver.solve(A);
        EXPECT_EQ(solver.getNbEquations(), static_cast<unsigned int>(m));
        if (n == 0) continue;
        double const tolerance = 1e3 * epsilon;
        EXPECT_NEAR(solver.getVecSol().length(), 1.0, tolerance);
        EXPECT_NEAR(std::abs(solver.getVecSol().dot(expected)), 1.0, tolerance);
        EXPECT_LT(solver.getResiduals().length(), tolerance * (1.0 + A.frobeniusNorm()));
    }
}

TEST(SVDSolver, MayBeGivenItsOwnResults)
{
    Matrix const A = Matrix::of({{2, 1}, {1, 3}, {0, 1}});
    SVDSolver solver;
    solver.solve(A, Vector::of({1, 0, 0}));
    Vector const residuals = solver.getResiduals();
    solver.solve(A, solver.getResiduals());
    EXPECT_LT(solver.getVecSol().length(), 4.0 * epsilon);  // residuals are orthogonal to A
    EXPECT_TRUE(solver.getResiduals().equals(-residuals, 4.0 * epsilon));

    Matrix const cov = solver.getCov();
    solver.solve(solver.getCov(), Vector::of({1, 2}));
    EXPECT_TRUE((cov * solver.getVecSol()).equals(Vector::of({1, 2}), 1e3 * epsilon));
}

TEST(SVDSolver, RefusesMisuse)
{
    SVDSolver solver;
    Matrix const wide(2, 3);
    char const* const tooFewRows = "Invalid matrix size, need more row than col";
    EXPECT_MATH_ERROR(solver.solve(wide, Vector(3)), "Uncompatible matrix/vector size");
    EXPECT_MATH_ERROR(solver.solve(wide, Vector(2)), tooFewRows);
    EXPECT_MATH_ERROR(solver.solve(wide), tooFewRows);
    for (int const m : {3, 300}) {
        Matrix A(m, 2), huge(m, 2);  // singular values that overflow
        std::fill(huge.begin(), huge.end(), 1e308);
        EXPECT_MATH_ERROR(solver.solve(huge, Vector(m)), "SVD decomposition failed");
        for (double const bad : {std::nan(""), -HUGE_VAL}) {
            A[m - 1][0] = bad;
            EXPECT_MATH_ERROR(solver.solve(A, Vector(m)), "SVD decomposition failed");
            EXPECT_MATH_ERROR(solver.solve(A), "SVD decomposition failed");
        }
    }

    char const* const notSolved = "Call solve before use";
    EXPECT_MATH_ERROR(solver.getVecSol(), notSolved);
    EXPECT_MATH_ERROR(solver.getResiduals(), notSolved);
    EXPECT_MATH_ERROR(solver.getCov(), notSolved);
    for (auto const get : {&SVDSolver::getRMS, &SVDSolver::getSEUW, &SVDSolver::getMatCond})
        EXPECT_MATH_ERROR((solver.*get)(), notSolved);
    for (auto const get :
         {&SVDSolver::getMatRank, &SVDSolver::getNbEquations, &SVDSolver::getNbVariables})
        EXPECT_MATH_ERROR((solver.*get)(), notSolved);

    solver.solve(Matrix::of({{2}}), Vector::of({4}));
    EXPECT_MATH_ERROR(solver.solve(wide), tooFewRows);
    EXPECT_NO_THROW(solver.getVecSol());
}

TEST(SVDSolver, DerivedClassFindsTheFactorsOfATallMatrix)
{
    struct Open : SVDSolver {
        using SVDSolver::solveSystem;
        void solveSystem(Matrix const& A, Vector const&) override
        {
            svdDecomp(A);
            Matrix S(3, 3);
            S.setDiagVector(*_vecS);
            EXPECT_TRUE(isNear(*_matU * S * _matV->transpose(), A, 32.0 * epsilon));
        }
    };
    Open().solve(RandomData(33).matrix(300, 3), Vector(300));
}

TEST(LinearSolver, DerivesTheStatisticsFromTheSolutionOfADerivedClass)
{
    struct Scripted : LinearSolver {
        void solveSystem(Matrix const& A) override { solveSystem(A, Vector()); }
        void solveSystem(Matrix const& A, Vector const&) override
        {
            EXPECT_TRUE(isNear(*_vecSol, Vector(A.getCol()), 0));
            EXPECT_TRUE(isNear(*_cov, Matrix(2, 2, Matrix::IDENTITY), 0));
            EXPECT_EQ(_matCond, -1.0);
            EXPECT_EQ(_matRank, UINT_MAX);
            (*_vecSol)[0] = 3.0;
        }
    } solver;
    Matrix const A = Matrix::of({{1, 0}, {0, 1}, {2, 0}, {0, 0}, {0, 0}, {0, 0}});
    for (int pass = 0; pass < 2; ++pass) {
        solver.solve(A, Vector::of({1, 0, 5, 0, 0, 1}));
        EXPECT_TRUE(isNear(solver.getResiduals(), Vector::of({2, 0, 1, 0, 0, -1}), 0));
        EXPECT_DOUBLE_EQ(solver.getRMS(), 1.0);
        EXPECT_DOUBLE_EQ(solver.getSEUW(), std::sqrt(1.5));
        EXPECT_TRUE(isNear(solver.getCov(), 1.5 * Matrix(2, 2, Matrix::IDENTITY), 4.0 * epsilon));
    }
    solver.solve(A);
    EXPECT_TRUE(isNear(solver.getResiduals(), Vector::of({3, 0, 6, 0, 0, 0}), 0));
}

}  // namespace
