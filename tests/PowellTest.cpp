#include "math/Powell.h"

#include "support/MathErrorExpectations.h"
#include "support/MghProblems.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

namespace {

constexpr double defaultTolerance = 0x1p-26;

template <class Solver, class Function>
Solver solved(MghProblem const& problem, Function function)
{
    Solver solver(problem.m, function);
    solver.setParams(problem.start);
    solver.compute();
    return solver;
}

TEST(Powell, SolvesPublishedSystems)
{
    for (MghProblem const& problem : mghSystems()) {
        auto const numeric = solved<NumPowell>(problem, problem.system);
        auto const analytic = solved<AnalyticPowell>(problem, problem.systemWithJacobian);
        for (Powell const* solver :
             {static_cast<Powell const*>(&numeric), static_cast<Powell const*>(&analytic)}) {
            EXPECT_EQ(solver->getInfo(), 1) << problem.name;
            EXPECT_LT(solver->getRmsAfter(), defaultTolerance) << problem.name;
            Vector f(problem.m);
            problem.function(problem.start.begin(), f.begin(), problem.m);
            EXPECT_DOUBLE_EQ(solver->getRmsBefore(), f.length()) << problem.name;
            problem.function(solver->getParams().begin(), f.begin(), problem.m);
            EXPECT_NEAR(solver->getRmsAfter(), f.length(), 1e-15) << problem.name;
        }
        Vector const difference = numeric.getParams() - analytic.getParams();
        EXPECT_LT(difference.length(), 1e-6 * analytic.getParams().length()) << problem.name;
        EXPECT_GT(numeric.getIterationNb(), problem.m) << problem.name;
        EXPECT_EQ(analytic.getIterationNb(), 0) << "kept: not reported";
    }
}

int calls = 0;

void square(int* n, double* x, double* fvec, int*)
{
    ++calls;
    for (int i = 0; i < *n; ++i) fvec[i] = x[i] * x[i] - 2.0;
}

void squareWithJacobian(int* n, double* x, double* fvec, double* fjac, int* ldfjac, int* iflag)
{
    if (*iflag != 2) return square(n, x, fvec, iflag);
    for (int i = 0; i < *n; ++i)
        for (int j = 0; j < *n; ++j) fjac[i + j * *ldfjac] = i == j ? 2.0 * x[i] : 0.0;
}

TEST(Powell, NeedsAFunction)
{
    constexpr char const* noFunction = "User function is not defined (setFunction())";
    EXPECT_MATH_ERROR(NumPowell().compute(), noFunction);
    EXPECT_MATH_ERROR(NumPowell(2).compute(), noFunction);
    EXPECT_MATH_ERROR(AnalyticPowell().compute(), noFunction);
    EXPECT_MATH_ERROR(AnalyticPowell(2).compute(), noFunction);
}

TEST(Powell, StopsAtOnceForImproperInput)
{
    Vector const start = Vector::of({1.0, 3.0});
    NumPowell numeric(2, square);
    AnalyticPowell analytic(2);
    analytic.setFunction(squareWithJacobian);
    for (Powell* solver : {static_cast<Powell*>(&numeric), static_cast<Powell*>(&analytic)}) {
        solver->setParams(start);
        solver->setMaxNormValue(-1.0);
        calls = 0;
        solver->compute();
        EXPECT_EQ(calls, 2) << "for the norms only";
        EXPECT_EQ(solver->getInfo(), 0);
        EXPECT_EQ(solver->getParams().equals(start, 0.0), 1);
        EXPECT_DOUBLE_EQ(solver->getRmsBefore(), std::sqrt(50.0));
        EXPECT_EQ(solver->getRmsAfter(), solver->getRmsBefore());

        solver->initPowell(0);
        solver->compute();
        EXPECT_EQ(solver->getInfo(), 0);
        EXPECT_EQ(solver->getRmsAfter(), 0.0);
    }
}

TEST(Powell, StartsOverWithOtherDimensions)
{
    NumPowell numeric(1, square);
    AnalyticPowell analytic(1, squareWithJacobian);
    for (Powell* solver : {static_cast<Powell*>(&numeric), static_cast<Powell*>(&analytic)}) {
        solver->setParams(Vector::of({1.0}));
        solver->setMaxNormValue(0.5);
        solver->compute();
        EXPECT_GT(std::abs(solver->getParams()[0] - std::sqrt(2.0)), 1e-9) << "a coarse tolerance";

        solver->initPowell(3);
        EXPECT_EQ(solver->getParams().equals(Vector(3), 0.0), 1);
        EXPECT_EQ(solver->getIterationNb(), 0);
        solver->setParams(Vector::of({1.0, 2.0, -3.0}));
        solver->compute();
        EXPECT_LT(solver->getRmsAfter(), defaultTolerance) << "the default tolerance is back";
        EXPECT_MATH_ERROR(solver->initPowell(-1), "Invalid array size");
        EXPECT_MATH_ERROR(solver->initPowell(100000), memError);
        EXPECT_EQ(solver->getParams().size(), 3U);
    }
    EXPECT_MATH_ERROR(NumPowell(100000), memError);
    EXPECT_MATH_ERROR(AnalyticPowell(100000), memError);
}

TEST(Powell, CopiesAreIndependentAndCallersKeepTheirVectors)
{
    Vector const start = Vector::of({1.0, 3.0});
    AnalyticPowell first(2, squareWithJacobian);
    first.setParams(start);
    AnalyticPowell second = first;
    second.compute();
    EXPECT_EQ(start[1], 3.0);
    EXPECT_EQ(first.getParams().equals(start, 0.0), 1);
    first = second;
    EXPECT_NEAR(first.getParams()[1], std::sqrt(2.0), 1e-8);
}

TEST(Powell, StopsWhenTheFunctionSaysSo)
{
    NumPowell solver(1, [](int*, double*, double* fvec, int* iflag) {
        fvec[0] = 1.0;
        if (*iflag != 0) *iflag = -7;
    });
    solver.compute();
    EXPECT_EQ(solver.getInfo(), -7);
}

TEST(Powell, LetsExceptionsOutAndKeepsTheStart)
{
    Vector const start = Vector::of({5.0});
    auto const failing = [](int* n, double* x, double* fvec, int* iflag) {
        if (++calls == 4) throw std::domain_error("fourth call");
        square(n, x, fvec, iflag);
        --calls;
    };
    calls = 0;
    NumPowell solver(1, failing);
    solver.setParams(start);
    EXPECT_THROW(solver.compute(), std::domain_error);
    EXPECT_EQ(solver.getParams()[0], 5.0);
    EXPECT_EQ(solver.getRmsAfter(), 0.0);

    calls = 10;
    solver.compute();
    EXPECT_NEAR(solver.getParams()[0], std::sqrt(2.0), 1e-8);
}

}  // namespace
