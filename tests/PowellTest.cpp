#include "math/Powell.h"

#include "support/MathErrorExpectations.h"
#include "support/PublishedProblems.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <stdexcept>

namespace {

constexpr double defaultTolerance = 0x1p-26;

Powell& startAt(Powell& solver, Vector const& start)
{
    solver.setParams(start);
    return solver;
}

TEST(Powell, SolvesPublishedSystems)
{
    for (Problem const& problem : mghSystems()) {
        NumPowell numeric(problem.m, problem.system);
        AnalyticPowell analytic(problem.m, problem.systemWithJacobian);
        ProblemCostFun f(problem);
        for (Powell* solver : std::initializer_list<Powell*>{&numeric, &analytic}) {
            startAt(*solver, problem.starts[0]).compute();
            EXPECT_EQ(solver->getInfo(), 1) << problem.name;
            EXPECT_LT(solver->getRmsAfter(), defaultTolerance) << problem.name;
            EXPECT_DOUBLE_EQ(solver->getRmsBefore(), f.getFunValue(problem.starts[0]).length());
            EXPECT_NEAR(solver->getRmsAfter(), f.getFunValue(solver->getParams()).length(), 1e-15);
        }
        Vector const& x = analytic.getParams();
        EXPECT_LT((numeric.getParams() - x).length(), 1e-6 * x.length()) << problem.name;
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

TEST(Powell, StopsAtOnceForImproperInputAndStartsOver)
{
    Vector const start = Vector::of({1.0, 3.0});
    NumPowell numeric(2);
    AnalyticPowell analytic(2);
    for (Powell* solver : std::initializer_list<Powell*>{&numeric, &analytic})
        EXPECT_MATH_ERROR(solver->compute(), "User function is not defined (setFunction())");
    numeric.setFunction(square);
    analytic.setFunction(squareWithJacobian);
    for (Powell* solver : std::initializer_list<Powell*>{&numeric, &analytic}) {
        solver->setMaxNormValue(-1.0);
        calls = 0;
        startAt(*solver, start).compute();
        EXPECT_EQ(calls, 2) << "for the norms only";
        EXPECT_EQ(solver->getInfo(), 0);
        EXPECT_EQ(solver->getParams(), start);
        EXPECT_DOUBLE_EQ(solver->getRmsAfter(), std::sqrt(50.0));

        solver->initPowell(0);
        solver->compute();
        EXPECT_EQ(solver->getInfo(), 0);

        solver->initPowell(3);
        EXPECT_EQ(solver->getParams(), Vector(3));
        startAt(*solver, Vector::of({1.0, 2.0, -3.0})).compute();
        EXPECT_LT(solver->getRmsAfter(), defaultTolerance) << "the default tolerance is back";
        EXPECT_MATH_ERROR(solver->initPowell(-1), "Invalid array size");
        EXPECT_MATH_ERROR(solver->initPowell(100000), memError);
        EXPECT_EQ(solver->getParams().size(), 3U);
    }
}

TEST(Powell, CopiesAreIndependentAndCallersKeepTheirVectors)
{
    Vector const start = Vector::of({1.0, 3.0});
    AnalyticPowell first(2, squareWithJacobian);
    first.setParams(start);
    AnalyticPowell second = first;
    second.compute();
    EXPECT_EQ(start[1], 3.0);
    EXPECT_EQ(first.getParams(), start);
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
    NumPowell solver(1, [](int* n, double* x, double* fvec, int* iflag) {
        if (calls == 3) throw std::domain_error("fourth call");
        square(n, x, fvec, iflag);
    });
    calls = 0;
    EXPECT_THROW(startAt(solver, Vector::of({5.0})).compute(), std::domain_error);
    EXPECT_EQ(solver.getParams()[0], 5.0);
    EXPECT_EQ(solver.getRmsAfter(), 0.0);
    calls = 4;
    solver.compute();
    EXPECT_NEAR(solver.getParams()[0], std::sqrt(2.0), 1e-8);
}

}  // namespace
