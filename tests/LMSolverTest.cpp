#include "math/LMSolver.h"

#include "math/LMMinPack.h"
#include "support/LogRecords.h"
#include "support/MathErrorExpectations.h"
#include "support/PublishedProblems.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"
#include "support/ScriptedCostFun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <log4cplus/loglevel.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

constexpr double defaultTolerance = 0x1p-26;
constexpr char const* solveFirst = "Call solve before use";

class LMSolvers : public testing::Test {
protected:
    LogRecorder quiet{g_MathLogger, log4cplus::OFF_LOG_LEVEL};
};

class OpenSolver : public LMMinPack {
public:
    OpenSolver() = default;
    OpenSolver(CostFun& costFun, Vector const& start)
    {
        setCostFun(&costFun);
        setInitVecSol(start);
    }
    using LMMinPack::_cov;
    using LMMinPack::getOptimFlag;
};

// r_i = p0 + p1 · i - (1 + 2 i) over m points, the first one off the line by `misfit`.
Scripted<> line(unsigned int m, double misfit = 0.0)
{
    Scripted<> f;
    f.initCostFun(m, 2);
    f.fun = [=](Vector const& p, Vector& r) {
        for (int i = 0; i < r.getSize(); ++i) r[i] = p[0] + p[1] * i - (1 + 2 * i);
        r[0] += misfit;
    };
    f.jac = [](Vector const&, Matrix& J) {
        for (int i = 0; i < J.getRow(); ++i) {
            J[i][0] = 1.0;
            J[i][1] = i;
        }
    };
    return f;
}

Vector const lineSolution = Vector::of({1.0, 2.0});

// Rosenbrock's function: some twenty iterations.
Scripted<> valley()
{
    Scripted<> f;
    f.initCostFun(2, 2);
    f.fun = [](Vector const& p, Vector& r) {
        r[0] = 10.0 * (p[1] - p[0] * p[0]);
        r[1] = 1.0 - p[0];
    };
    f.jac = [](Vector const& p, Matrix& J) {
        J[0][0] = -20.0 * p[0];
        J[0][1] = 10.0;
        J[1][0] = -1.0;
    };
    return f;
}

Vector const valleyStart = Vector::of({-1.2, 1.0});
Vector const valleySolution = Vector::of({1.0, 1.0});

TEST_F(LMSolvers, AreReadyOnlyWithAFunctionAndAStart)
{
    constexpr char const* notReady = "Set costFun and initVecSol before use";
    constexpr char const* noFunction = "Set costFun before use";
    OpenSolver solver;
    EXPECT_EQ(solver.getOptimFlag(), LMSolver::NotReady);
    EXPECT_EQ(solver.getTolerance(), defaultTolerance);
    EXPECT_MATH_ERROR(solver.solve(), notReady);
    EXPECT_MATH_ERROR(solver.getNbVariables(), noFunction);
    EXPECT_MATH_ERROR(solver.getNbEquations(), noFunction);
    EXPECT_MATH_ERROR(solver.getNbMaxIter(), noFunction);
    EXPECT_MATH_ERROR(solver.setInitVecSol(Vector(2)), noFunction);
    EXPECT_MATH_ERROR(solver.setCostFun(nullptr), noFunction);
    Scripted<> costFun;
    EXPECT_MATH_ERROR(solver.setCostFun(&costFun), "Call init before use");
    EXPECT_EQ(solver.getCostFun(), nullptr);

    costFun = line(5);
    solver.setCostFun(&costFun);
    EXPECT_EQ(solver.getNbMaxIter(), 300U);
    EXPECT_EQ(solver.getNbVariables(), 2U);
    EXPECT_EQ(solver.getNbEquations(), 5U);
    EXPECT_MATH_ERROR(solver.solve(), notReady);
    EXPECT_MATH_ERROR(solver.setInitVecSol(Vector(3)), "Invalid params vector size");
    solver.setInitVecSol(Vector(2));
    EXPECT_TRUE(isNear(solver._cov, Matrix(2, 2, Matrix::IDENTITY), 0))
        << "for another solver to find";
    costFun.initCostFun(5, 3);
    EXPECT_MATH_ERROR(solver.solve(), "Invalid params vector size");
    costFun.initCostFun(5, 2);
    solver.solve();
    EXPECT_EQ(solver.getOptimFlag(), LMSolver::Solved);
    EXPECT_MATH_ERROR(solver.solve(), notReady);

    solver.setNbMaxIter(7);
    EXPECT_EQ(solver.getOptimFlag(), LMSolver::Ready);
    solver.setCostFun(&costFun);
    EXPECT_EQ(solver.getNbMaxIter(), 7U) << "a limit that was set stays";
    EXPECT_EQ(solver.getOptimFlag(), LMSolver::NotReady);
}

TEST_F(LMSolvers, GuardTheirGettersAndSettings)
{
    constexpr char const* whileRunning =
        "This method should only be called during optimisation process";
    constexpr char const* badBound = "Invalid initial step bound, must be > 0";
    Scripted<> costFun = line(5);
    OpenSolver solver(costFun, Vector(2));
    EXPECT_MATH_ERROR(solver.getVecSol(), solveFirst);
    EXPECT_MATH_ERROR(solver.getCov(), solveFirst);
    EXPECT_MATH_ERROR(solver.getEndReason(), solveFirst);
    EXPECT_MATH_ERROR(solver.getEndFlag(), solveFirst);
    for (auto const get : {&LMSolver::getJacRank, &LMSolver::getNbIter})
        EXPECT_MATH_ERROR((solver.*get)(), solveFirst);
    for (auto const get : {&LMSolver::getRMSBefore, &LMSolver::getSEUWBefore, &LMSolver::getJacCond,
                           &LMSolver::getRMSAfter, &LMSolver::getSEUWAfter})
        EXPECT_MATH_ERROR((solver.*get)(), solveFirst);

    solver.solve();
    EXPECT_EQ(solver.getJacCond(), -1.0);
    EXPECT_MATH_ERROR(solver.getCurVec(), whileRunning);
    EXPECT_MATH_ERROR(solver.getCurRMS(), whileRunning);
    EXPECT_MATH_ERROR(solver.getCallBackArg(),
                      "Can't acces CallBackArg outside of callback function");
    for (double const bad : {-1e-9, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_MATH_ERROR(solver.setTolerance(bad), "Invalid tolerance value, should be >=0");
        EXPECT_MATH_ERROR(solver.setInitialStepBound(bad), badBound);
    }
    EXPECT_MATH_ERROR(solver.setInitialStepBound(0.0), badBound);
    EXPECT_EQ(solver.getOptimFlag(), LMSolver::Solved) << "a refused setting changes nothing";
    double const reached = solver.getRMSAfter();
    solver.setTolerance(0.0);
    EXPECT_EQ(solver.getOptimFlag(), LMSolver::Ready);
    solver.solve();
    EXPECT_EQ(solver.getRMSBefore(), reached) << "goes on from the last solution";
    solver.setInitialStepBound(0.1);
    EXPECT_EQ(solver.getOptimFlag(), LMSolver::Ready);
}

void expectEnding(CostFun&& costFun, Vector const& start, LMSolver::EndFlag flag,
                  char const* reason, unsigned int rank, unsigned int limit = 300,
                  double tolerance = defaultTolerance)
{
    SCOPED_TRACE(reason);
    OpenSolver solver(costFun, start);
    solver.setNbMaxIter(limit);
    solver.setTolerance(tolerance);
    solver.solve();
    EXPECT_EQ(solver.getEndReason(), reason);
    EXPECT_EQ(solver.getEndFlag(), flag);
    EXPECT_EQ(solver.getJacRank(), rank);
    EXPECT_EQ(solver.getCov().getNbRow(), start.size());
    EXPECT_EQ(solver.getCov().frobeniusNorm() == 0.0, rank == 0);
}

// The last residual is 1; the derivatives are those of the first alone.
Scripted<> fixed(unsigned int m, unsigned int n, double first, double slope)
{
    Scripted<> f;
    f.initCostFun(m, n);
    f.fun = [=](Vector const&, Vector& r) { r[0] = first, r[r.getSize() - 1] = 1.0; };
    f.jac = [=](Vector const&, Matrix& J) { std::fill_n(J.begin(), J.size() / m, slope); };
    return f;
}

TEST_F(LMSolvers, TellHowTheyEnded)
{
    constexpr auto normal = LMSolver::NormalEnd;
    constexpr auto warning = LMSolver::WarningEnd;
    constexpr auto error = LMSolver::ErrorEnd;
    constexpr char const* improper = "Improper input parameters";
    constexpr char const* orthogonal =
        "Fvec is orthogonal to the columns of the jacobian to machine precision";
    Vector const start = Vector::of({5.0, -3.0});
    expectEnding(line(4), lineSolution, normal, "Null residuals on last iteration", 2);
    expectEnding(fixed(3, 2, 0.0, 0.0), start, error, orthogonal, 0);
    expectEnding(fixed(3, 1, 1e-20, 1.0), Vector(1), error, orthogonal, 1, 300, 0.0);
    expectEnding(line(4), start, warning,
                 "Number of calls to fcn has reached or exceeded max number of iterations", 2, 1);
    expectEnding(line(4), start, error, improper, 0, 0);
    expectEnding(fixed(1, 2, 1.0, 0.0), start, error, improper, 0);
    expectEnding(fixed(3, 0, 1.0, 0.0), Vector(), error, improper, 0);
    expectEnding(line(4, 1.0), start, normal,
                 "Algorithm estimates that the relative error in the sum of squares and between x "
                 "and the solution is at most tol",
                 2, UINT_MAX);

    auto const expectFrom = [](char const* name, double tolerance, auto flag, char const* reason) {
        Problem const& problem = nistProblem(name);
        auto const rank = problem.params.size();
        expectEnding(ProblemCostFun(problem), problem.starts[1], flag, reason, rank, 300,
                     tolerance);
    };
    expectFrom("Rat42", 1e-8, normal,
               "Algorithm estimates that the relative error in the sum of squares is at most tol");
    expectFrom(
        "Misra1a", 1e-15, normal,
        "Algorithm estimates that the relative error between x and the solution is at most tol");
    expectFrom("Nelson", 0.0, warning,
               "Tol is too small. no further reduction in the sum of squares is possible");
    expectFrom(
        "Misra1a", 0.0, warning,
        "Tol is too small. no further improvement in the approximate solution x is possible");
}

TEST_F(LMSolvers, CovarianceInvertsTheNormalMatrixUpToTheRank)
{
    RandomData random(5);
    for (unsigned int const n : {1U, 2U, 5U}) {
        Matrix A = random.matrix(20, static_cast<int>(n));
        Scripted<> costFun;
        costFun.initCostFun(20, n);
        costFun.fun = [&](Vector const& p, Vector& r) { r = A * p + random.vector(20, 1.0, 1.1); };
        costFun.jac = [&](Vector const&, Matrix& J) { J = A; };
        OpenSolver solver(costFun, Vector(n)), dependent = solver;
        solver.solve();
        EXPECT_TRUE(isNear(solver.getCov(), (A.transpose() * A).inverse(), 1e-12)) << n;
        EXPECT_EQ(solver.getJacRank(), n);

        A.setColVector(n - 1, A.getColVector(0));  // dependent unless it is the only one
        dependent.solve();
        EXPECT_EQ(dependent.getJacRank(), n == 1 ? 1 : n - 1);
    }
}

struct Seen {
    std::vector<Vector> vectors;
    std::vector<double> rms;
    unsigned int stopAfter;
};

bool watch(LMSolver const& solver)
{
    Scripted<> inner = line(6);
    OpenSolver nested(inner, solver.getCurVec());
    nested.solve();
    EXPECT_EQ(nested.getVecSol().equals(lineSolution, 1e-9), 1);

    auto& seen = *static_cast<Seen*>(solver.getCallBackArg());
    seen.vectors.push_back(solver.getCurVec());
    seen.rms.push_back(solver.getCurRMS());
    EXPECT_EQ(solver.getNbIter(), seen.vectors.size());
    return solver.getNbIter() < seen.stopAfter;
}

TEST_F(LMSolvers, ShowEachIterationToTheCallbackAndStopWhenItSaysSo)
{
    for (unsigned int const stopAfter : {1U, 3U, 1000U}) {
        Scripted<> costFun = valley();
        Seen seen = {{}, {}, stopAfter};
        Vector const start = valleyStart + Vector(2);
        OpenSolver solver(costFun, start);
        solver.setCallBackFcn(watch);
        solver.setCallBackArg(&seen);
        solver.solve();

        EXPECT_EQ(seen.vectors[0].equals(valleyStart, 0.0), 1);
        EXPECT_EQ(start.equals(valleyStart, 0.0), 1) << "the caller's vector has changed";
        for (std::size_t k = 0; k < seen.vectors.size(); ++k)
            EXPECT_EQ(seen.rms[k], costFun.getRMS(seen.vectors[k])) << "a copy has changed";
        EXPECT_EQ(solver.getJacRank(), 2U);
        if (stopAfter == 1000U) {
            EXPECT_EQ(solver.getVecSol().equals(valleySolution, 1e-12), 1);
            continue;
        }
        EXPECT_EQ(solver.getEndFlag(), LMSolver::UserEnd);
        EXPECT_EQ(solver.getEndReason(), "User requests end of algorithm");
        EXPECT_EQ(solver.getNbIter(), stopAfter);
        EXPECT_EQ(solver.getVecSol().equals(seen.vectors.back(), 0.0), 1);
    }
    Scripted<> solved = line(4);
    OpenSolver solver(solved, lineSolution);  // ends by itself in the first iteration
    solver.setCallBackFcn([](LMSolver const&) { return false; });
    solver.solve();
    EXPECT_EQ(solver.getEndFlag(), LMSolver::UserEnd) << "a stop wins";
    solver.setCallBackFcn(nullptr);
    solver.setInitVecSol(Vector(2));
    solver.solve();
    EXPECT_EQ(solver.getEndFlag(), LMSolver::NormalEnd) << "and ends with its solve";
}

TEST_F(LMSolvers, LetExceptionsOutAndStayReady)
{
    for (int const thrower : {0, 1, 2}) {
        int countdown = 3;
        std::function<void(int)> mayThrow = [&](int who) {
            if (who == thrower && --countdown == 0) throw std::out_of_range("the user's own");
        };
        Scripted<> costFun = valley();
        costFun.fun = [&](Vector const& p, Vector& r) { mayThrow(0), r = valley().getFunValue(p); };
        costFun.jac = [&](Vector const& p, Matrix& J) { mayThrow(1), J = valley().getJacValue(p); };
        OpenSolver solver(costFun, valleyStart);
        solver.setCallBackArg(&mayThrow);
        solver.setCallBackFcn([](LMSolver const& running) {
            (*static_cast<std::function<void(int)>*>(running.getCallBackArg()))(2);
            return true;
        });
        EXPECT_THROW(solver.solve(), std::out_of_range) << thrower;
        EXPECT_EQ(solver.getOptimFlag(), LMSolver::Ready) << thrower;
        solver.solve();
        EXPECT_EQ(solver.getVecSol().equals(valleySolution, 1e-12), 1) << thrower;
        EXPECT_EQ(solver.getRMSBefore(), valley().getRMS(valleyStart)) << "from the start again";
    }
}

// A function whose results do not fit must not be read beyond their ends.
TEST_F(LMSolvers, RefuseResultsOfWrongSize)
{
    class Loose : public Scripted<> {
    public:
        Vector const& getFunValue(Vector const&) override { return r; }
        Matrix const& getJacValue(Vector const&) override { return J; }
        Vector r = Vector(4);
        Matrix J = Matrix(3, 2);
    };
    Loose costFun;
    costFun.initCostFun(4, 2);
    OpenSolver solver(costFun, Vector(2));
    EXPECT_MATH_ERROR(solver.solve(), "Cost function gives a Jacobian of wrong size");
    costFun.r = Vector(3);
    EXPECT_MATH_ERROR(solver.solve(), "Cost function gives a wrong number of residuals");
}

TEST(LMSolverLog, TellsProgressAndResult)
{
    LogRecorder const log(g_MathLogger, log4cplus::INFO_LOG_LEVEL);
    Scripted<> costFun = line(4);
    LMMinPack solver;
    solver.setCostFun(&costFun);
    solver.setInitVecSol(lineSolution);
    solver.solve();

    std::vector<std::string> messages;
    for (Record const& record : log.records()) messages.push_back(record.message);
    EXPECT_EQ(log.records()[0].level, 20000);
    EXPECT_THAT(messages,
                ElementsAre("Starting optimisation process...", "Iteration number1 Rms :0",
                            "End of optimisation process reached\n",
                            "Minimisation results\n"
                            "---------------------------\n"
                            "Optimisation algorithm : \t\tLMMinPack\n"
                            "Number of variables : \t\t\t2\n"
                            "Number of equations : \t\t\t4\n"
                            "Number of iteration (/ max) : \t\t1 (/300)\n"
                            "(RMS;SEUW) initial : \t\t\t(0;0)\n"
                            "(RMS;SEUW) final : \t\t\t(0;0)\n"
                            "Jacobian rank at convergence : \t\t2 (/2)\n"
                            "Cause of termination : \t\t\tNull residuals on last iteration\n"
                            "Output flag : \t\t\t\tNormal End\n"));
}

}  // namespace
