#include "math/Powell.h"

#include "support/MathErrorExpectations.h"
#include "support/PublishedProblems.h"

#include <cminpack.h>
#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

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

// MINPACK's own driver, with the settings that are promised.
int viaDriver(NumPowell::Function function, Vector& x)
{
    int const n = x.getSize();
    std::vector<double> fvec(x.size()), work(static_cast<std::size_t>(n * (3 * n + 13) / 2));
    auto const call = [](void* f, int m, double const* p, double* r, int flag) {
        (*static_cast<NumPowell::Function*>(f))(&m, const_cast<double*>(p), r, &flag);
        return flag;
    };
    return hybrd1(call, &function, n, x.begin(), fvec.data(), defaultTolerance, work.data(),
                  static_cast<int>(work.size()));
}

// Without a root; far starts come to a first step that is bounded, near ones to slow progress.
void rootless(int* n, double* x, double* fvec, int*)
{
    for (int i = 0; i < *n; ++i) fvec[i] = 1.0 + x[i] * x[i] * x[(i + 1) % *n];
    fvec[0] = 1.0 + x[0] * x[0];
}

TEST(Powell, StepsAsMinpacksDriverDoes)
{
    std::vector<std::pair<NumPowell::Function, Vector>> cases;
    for (Problem const& problem : mghSystems())
        cases.emplace_back(problem.system, problem.starts[0]);
    cases.emplace_back(rootless, Vector::of({0.5, -2.0}));
    std::set<int> infos;
    for (auto const& [function, start] : cases)
        for (double const scale : {1e-3, 1.0, 10.0, 1000.0}) {
            Vector x = scale * start;
            NumPowell solver(x.getSize(), function);
            startAt(solver, x).compute();
            EXPECT_EQ(solver.getInfo(), viaDriver(function, x));
            EXPECT_EQ(solver.getParams(), x);
            infos.insert(solver.getInfo());
        }
    EXPECT_EQ(infos, (std::set<int>{1, 4})) << "some find a root, some do not";
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
