#include "math/CostFun.h"

#include "math/WeightedCostFun.h"
#include "support/HeapCounter.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"
#include "support/ScriptedCostFun.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <vector>

namespace {

constexpr double step = 0x1p-26;  // of the forward differences
constexpr char const* noInit = "Call init before use";
Vector const p = Vector::of({2.0, -0.5, 1.0});

using Plain = Scripted<CostFun>;

class Weighted : public Scripted<WeightedCostFun> {
public:
    using WeightedCostFun::getAllParams;
};

// The residual r_i = a · exp(b · t_i) + c with t_i = i / 4 as element 3, its derivatives before it.
Vector exponential(Vector const& x, int i)
{
    double const t = i / 4.0, e = std::exp(x[1] * t);
    return Vector::of({e, x[0] * e * t, 1.0, x[0] * e + x[2]});
}

Vector residuals(Vector const& x, int m)
{
    Vector r(m);
    for (int i = 0; i < m; ++i) r[i] = exponential(x, i)[3];
    return r;
}

// The hooks add, so that a start from anything but zero shows.
template <class Function>
Function exponentialFunction(int m)
{
    Function f;
    f.initCostFun(static_cast<unsigned int>(m), 3);
    f.fun = [](Vector const& x, Vector& r) { r += residuals(x, r.getSize()); };
    f.jac = [](Vector const& x, Matrix& J) {
        for (int i = 0; i < J.getRow(); ++i)
            for (int j = 0; j < 3; ++j) J[i][j] += exponential(x, i)[j];
    };
    return f;
}

void expectEvaluationsThrow(CostFun& f, Vector const& x, char const* text)
{
    expectMathErrors(text, {[&] { f.getFunValue(x); }, [&] { f.getJacValue(x); },
                            [&] { f.getRMS(x); }, [&] { f.getSEUW(x); }});
}

template <class Function>
class CostFunctions : public testing::Test {
};
using BothFunctions = testing::Types<Plain, Weighted>;
TYPED_TEST_SUITE(CostFunctions, BothFunctions);

TYPED_TEST(CostFunctions, AreRefusedBeforeInitAndKeepTheirDimensionsWhenItFails)
{
    TypeParam f;
    EXPECT_TRUE(f.getBoolAnaDer());
    expectMathErrors(noInit, {[&] { f.getNbEquations(); }, [&] { f.getNbVariables(); }});
    expectEvaluationsThrow(f, Vector(), noInit);

    f.initCostFun(5, 2);
    EXPECT_MATH_ERROR(f.initCostFun(0, 3), "Number of equations should not be null");
    EXPECT_MATH_ERROR(f.initCostFun(100000, 100000), "Invalid array size");
    EXPECT_EQ(f.getNbEquations(), 5U);
    EXPECT_EQ(f.getNbVariables(), 2U);
    for (int const n : {0, 1, 3}) expectEvaluationsThrow(f, Vector(n), "Invalid parameter size");
    EXPECT_MATH_ERROR(f.getJacValue(Vector(2)), "Not yet implemented");

    f.initCostFun(1, 0);  // no variable is fine
    f.setBoolAnaDer(false);
    EXPECT_EQ(f.getFunValue(Vector()).size(), 1U);
    EXPECT_EQ(f.getJacValue(Vector()).getRow(), 1);
}

TYPED_TEST(CostFunctions, TakeTheirMemoryOnce)
{
    if (!keepsSmallBlocks) GTEST_SKIP() << "each block comes from the heap";
    auto f = exponentialFunction<TypeParam>(1000);
    f.fun = [](Vector const& x, Vector& r) { r.begin()[0] = x[0]; };
    f.jac = [](Vector const&, Matrix& J) { J.begin()[0] = 1.0; };
    auto const evaluate = [&] {
        for (bool const analytic : {true, false}) {
            f.setBoolAnaDer(analytic);
            f.getFunValue(p);
            f.getJacValue(p);
            f.getRMS(p);
        }
    };
    evaluate();
    HeapCounter const heap;
    for (int i = 0; i < 10; ++i) evaluate();
    EXPECT_EQ(heap.blocks(), 0U);
}

TEST(CostFun, HooksFindZeroAndCopiesOfResultsStay)
{
    auto f = exponentialFunction<Plain>(6);
    Vector const first = f.getFunValue(p);
    Matrix const firstJacobian = f.getJacValue(p);
    f.getFunValue(Vector(3));
    f.getJacValue(Vector(3));
    EXPECT_EQ(first, residuals(p, 6)) << "a copy changed with the next evaluation";
    EXPECT_EQ(f.getFunValue(p), first);
    EXPECT_EQ(f.getJacValue(p), firstJacobian);
}

TEST(CostFun, SurvivesAHookThatChangesASize)
{
    auto f = exponentialFunction<Plain>(6);
    f.fun = [](Vector const&, Vector& r) { r = Vector(2); };
    f.jac = [](Vector const&, Matrix& J) { J = Matrix(6, 2); };
    EXPECT_MATH_ERROR(f.getFunValue(p), "computeFunValue must keep the size of _funValue");
    EXPECT_MATH_ERROR(f.getJacValue(p), "computeAnaJacValue must keep the size of _jacValue");
    EXPECT_EQ(f.getNbEquations(), 6U);
    EXPECT_EQ(f.getNbVariables(), 3U);

    class Growing : public Plain {
    public:
        Vector const& getFunValue(Vector const&) override { return r = Vector(_size++); }
        Vector r;
        int _size = 0;
    } growing;
    growing.initCostFun(5, 1);
    growing.setBoolAnaDer(false);
    for (int const first : {4, 5}) {
        growing._size = first;
        EXPECT_MATH_ERROR(growing.getJacValue(Vector(1)), "Bad vector dimensions");
    }

    f.fun = [](Vector const& x, Vector& r) { r = residuals(x, 6); };  // may replace the storage
    f.jac = [](Vector const&, Matrix&) {};
    EXPECT_EQ(f.getFunValue(p), residuals(p, 6));
    EXPECT_EQ(f.getJacValue(p).getRow(), 6);
}

TEST(CostFun, NumericJacobianStepsForwardByARelativeStep)
{
    Plain f;
    f.initCostFun(1, 3);
    f.setBoolAnaDer(false);
    std::vector<Vector> asked;
    f.fun = [&](Vector const& x, Vector&) { asked.push_back(x); };
    Vector const x = Vector::of({0.0, -3.0, 1e200});
    f.getJacValue(x);

    Vector const steps = Vector::of({step, 3.0 * step, 1e200 * step});
    ASSERT_EQ(asked.size(), 4U);
    EXPECT_EQ(asked[0], x);
    for (int j = 0; j < 3; ++j) {
        Vector stepped = x;
        stepped[j] += steps[j];
        EXPECT_EQ(asked[j + 1U], stepped) << j;
    }
}

// The mean is without weights, the standard error with.
TEST(CostFun, StatisticsDivideByEquationsAndByRedundancy)
{
    Vector const r = residuals(p, 5), w = Vector::of({1.0, 2.0, 3.0, 4.0, 5.0});
    auto plain = exponentialFunction<Plain>(5);
    EXPECT_DOUBLE_EQ(plain.getRMS(p), r.length() / std::sqrt(5.0));
    EXPECT_DOUBLE_EQ(plain.getSEUW(p), r.length() / std::sqrt(2.0));
    EXPECT_EQ(exponentialFunction<Plain>(3).getSEUW(p), -1.0);
    EXPECT_EQ(exponentialFunction<Plain>(2).getSEUW(p), -1.0);

    auto weighted = exponentialFunction<Weighted>(5);
    weighted.setWeights(w);
    EXPECT_DOUBLE_EQ(weighted.getRMS(p), r.length() / std::sqrt(5.0));
    EXPECT_DOUBLE_EQ(weighted.getSEUW(p), (w * r).length() / std::sqrt(2.0));
    weighted.setEstimFlags({false, true, true});
    weighted.setFixedParams(Vector::of({p[0]}));
    EXPECT_DOUBLE_EQ(weighted.getSEUW(p(1, 2)), (w * r).length() / std::sqrt(3.0));
}

TEST(WeightedCostFun, ChecksItsInputAndChangesNothingWhenItThrows)
{
    Weighted fresh;
    expectMathErrors(noInit, {[&] { fresh.setWeights(Vector()); }, [&] { fresh.getWeights(); },
                              [&] { fresh.getEstimFlags(); }, [&] { fresh.getNbTotVariables(); },
                              [&] { fresh.getNbFixedVariables(); },
                              [&] { fresh.getNonWeightedResiduals(Vector()); }});
    EXPECT_TRUE(fresh.getFixedParams().empty());

    auto f = exponentialFunction<Weighted>(4);
    f.setEstimFlags({true, false, true});
    Vector const weights = Vector::of({1.0, 2.0, 3.0, 4.0});
    f.setWeights(weights);
    f.setFixedParams(Vector::of({-0.5}));
    EXPECT_MATH_ERROR(f.setEstimFlags({true, true}), "Invalid estim flag vector size");
    EXPECT_MATH_ERROR(f.getEstimFlag(3), "Invalid estim flag idx");
    EXPECT_MATH_ERROR(f.setFixedParams(Vector(2)), "Invalid fixed Vector size");
    EXPECT_MATH_ERROR(f.setWeights(Vector(3)), "Invalid weights vector size");
    EXPECT_MATH_ERROR(f.initCostFun(0, 7), "Number of equations should not be null");
    EXPECT_MATH_ERROR(f.getNonWeightedResiduals(Vector(1)), "Invalid parameter size");
    Vector two(2), three(3);
    EXPECT_MATH_ERROR(f.getAllParams(two, two), "Invalid params vector size");
    EXPECT_MATH_ERROR(f.getAllParams(three, three), "Invalid estim params vector size");
    Matrix square(3, 3), tall(3, 2), wide(2, 3);
    EXPECT_MATH_ERROR(f.getAllParamsCov(Matrix(2, 2), tall), "Invalid covariance matrix size");
    EXPECT_MATH_ERROR(f.getAllParamsCov(Matrix(2, 2), wide), "Invalid covariance matrix size");
    EXPECT_MATH_ERROR(f.getAllParamsCov(square, square),
                      "Invalid estimated parameters covariance matrix size");
    EXPECT_EQ(f.getEstimFlags(), (std::vector<bool>{true, false, true}));
    EXPECT_EQ(f.getNbTotVariables(), 3U);
    EXPECT_EQ(f.getNbFixedVariables(), 1U);
    EXPECT_EQ(f.getFixedParams()[0], -0.5);
    EXPECT_EQ(f.getWeights(), weights);
}

TEST(WeightedCostFun, WaitsForTheFixedValues)
{
    auto f = exponentialFunction<Weighted>(4);
    f.setEstimFlags({false, true, true});
    EXPECT_MATH_ERROR(f.getFixedParams(), "Call setFixedParams before use");
    expectEvaluationsThrow(f, Vector(2), "Init fixed params before use");
    f.setEstimFlags({true, true, true});
    EXPECT_TRUE(f.getFixedParams().empty());
    EXPECT_EQ(f.getFunValue(p), residuals(p, 4));

    f.setEstimFlags({false, true, true});
    f.initCostFun(4, 3);
    EXPECT_EQ(f.getNbVariables(), 3U);
    EXPECT_TRUE(f.getFixedParams().empty());
    EXPECT_EQ(f.getWeights()[3], 1.0);
}

// Every pattern of estimated and fixed parameters, against values and derivatives at all of them.
TEST(WeightedCostFun, ShowsTheSolverTheEstimatedParametersOnly)
{
    constexpr int m = 5;
    Vector const w = RandomData(7).vector(m, 0.5, 2.0);
    Matrix const allCov = RandomData(8).matrix(3, 3);
    Matrix W(m, m), allDerivatives(m, 3);
    for (int i = 0; i < m; ++i) {
        W[i][i] = w[i];
        allDerivatives.setRowVector(i, exponential(p, i)(0, 3));
    }
    for (unsigned int pattern = 0; pattern < 8; ++pattern) {
        SCOPED_TRACE(pattern);
        auto f = exponentialFunction<Weighted>(m);
        std::vector<bool> flags;
        std::vector<double> fixed;
        Matrix pick(std::popcount(pattern), 3);  // of the estimated ones
        int n = 0;
        for (int j = 0; j < 3; ++j) {
            flags.push_back((pattern >> j) % 2 == 1);
            if (flags.back())
                pick[n++][j] = 1.0;
            else
                fixed.push_back(p[j]);
        }
        Vector const x = pick * p;
        Matrix const derivatives = allDerivatives * pick.transpose();
        f.jac = [&](Vector const& all, Matrix& J) {
            EXPECT_EQ(all, p);
            J += derivatives;
        };
        f.setEstimFlags(flags);
        f.setFixedParams(toVector(fixed));
        f.setWeights(w);

        EXPECT_EQ(f.getNonWeightedResiduals(x), residuals(p, m));
        EXPECT_EQ(f.getFunValue(x), w * residuals(p, m));
        EXPECT_EQ(f.getJacValue(x), W * derivatives);
        f.setBoolAnaDer(false);
        // Truncation and rounding are about 2^-26 each for values and derivatives of 1.
        EXPECT_TRUE(isNear(f.getJacValue(x), W * W * derivatives, 64 * step));

        Matrix const estimCov = pick * allCov * pick.transpose();
        Matrix cov = allCov;
        f.getAllParamsCov(n == 3 ? cov : estimCov, cov);  // all estimated: in place
        EXPECT_EQ(cov, pick.transpose() * estimCov * pick);
    }
}

TEST(WeightedCostFun, AHookMayEvaluateAgain)
{
    auto f = exponentialFunction<Weighted>(5);
    f.jac = [&](Vector const& x, Matrix& J) {
        f.getFunValue(Vector(3));
        J[0][0] = x[0];
    };
    EXPECT_EQ(f.getJacValue(p)[0][0], 2.0);
}

}  // namespace
