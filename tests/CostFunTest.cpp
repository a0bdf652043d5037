#include "math/CostFun.h"

#include "math/WeightedCostFun.h"
#include "support/HeapCounter.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ScriptedCostFun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr double step = 0x1p-26;  // of the forward differences
constexpr char const* noInit = "Call init before use";

using Plain = Scripted<CostFun>;

class Weighted : public Scripted<WeightedCostFun> {
public:
    using WeightedCostFun::getAllParams;
};

// r_i = a · exp(b · t_i) + c with t_i = i / 4, and its derivatives.
double exponential(Vector const& p, int i)
{
    return p[0] * std::exp(p[1] * i / 4.0) + p[2];
}

Vector exponentialGradient(Vector const& p, int i)
{
    double const e = std::exp(p[1] * i / 4.0);
    return Vector::of({e, p[0] * e * i / 4.0, 1.0});
}

// The hooks add, so that a start from anything but zero shows.
void addExponential(Vector const& p, Vector& r)
{
    for (int i = 0; i < r.getSize(); ++i) r[i] += exponential(p, i);
}

void addExponentialJacobian(Vector const& p, Matrix& J)
{
    for (int i = 0; i < J.getRow(); ++i)
        for (int j = 0; j < 3; ++j) J[i][j] += exponentialGradient(p, i)[j];
}

template <class Function>
Function exponentialFunction(unsigned int m)
{
    Function f;
    f.initCostFun(m, 3);
    f.fun = addExponential;
    f.jac = addExponentialJacobian;
    return f;
}

Vector residuals(Vector const& p, int m)
{
    Vector r(m);
    addExponential(p, r);
    return r;
}

double maxDifference(Matrix const& a, Matrix const& b)
{
    double largest = 0.0;
    for (int i = 0; i < a.getRow(); ++i)
        for (int j = 0; j < a.getCol(); ++j)
            largest = std::max(largest, std::abs(a[i][j] - b[i][j]));
    return largest;
}

TEST(CostFun, RefusesEverythingBeforeInit)
{
    Plain f;
    EXPECT_TRUE(f.getBoolAnaDer());
    EXPECT_MATH_ERROR(f.getNbEquations(), noInit);
    EXPECT_MATH_ERROR(f.getNbVariables(), noInit);
    EXPECT_MATH_ERROR(f.getFunValue(Vector()), noInit);
    EXPECT_MATH_ERROR(f.getJacValue(Vector()), noInit);
    EXPECT_MATH_ERROR(f.getRMS(Vector()), noInit);
    EXPECT_MATH_ERROR(f.getSEUW(Vector()), noInit);
}

TEST(CostFun, KeepsItsDimensionsWhenInitFails)
{
    Plain f;
    f.initCostFun(5, 2);
    EXPECT_MATH_ERROR(f.initCostFun(0, 3), "Number of equations should not be null");
    EXPECT_MATH_ERROR(f.initCostFun(100000, 100000), "Invalid array size");
    EXPECT_EQ(f.getNbEquations(), 5U);
    EXPECT_EQ(f.getNbVariables(), 2U);

    f.initCostFun(1, 0);  // no variable is fine
    f.setBoolAnaDer(false);
    EXPECT_EQ(f.getFunValue(Vector()).size(), 1U);
    EXPECT_EQ(f.getJacValue(Vector()).getRow(), 1);
}

TEST(CostFun, ChecksTheNumberOfVariables)
{
    auto f = exponentialFunction<Plain>(4);
    for (Vector const& x : {Vector(2), Vector(4), Vector()}) {
        EXPECT_MATH_ERROR(f.getFunValue(x), "Invalid parameter size");
        EXPECT_MATH_ERROR(f.getJacValue(x), "Invalid parameter size");
        EXPECT_MATH_ERROR(f.getRMS(x), "Invalid parameter size");
        EXPECT_MATH_ERROR(f.getSEUW(x), "Invalid parameter size");
    }
}

TEST(CostFun, HasNoAnalyticJacobianUnlessOverridden)
{
    auto f = exponentialFunction<Plain>(4);
    f.jac = nullptr;
    EXPECT_MATH_ERROR(f.getJacValue(Vector(3)), "Not yet implemented");
    f.setBoolAnaDer(false);
    EXPECT_EQ(f.getJacValue(Vector(3)).getCol(), 3);
}

TEST(CostFun, HooksFindZeroAndCopiesOfResultsStay)
{
    auto f = exponentialFunction<Plain>(6);
    Vector const p = Vector::of({2.0, -0.5, 1.0});
    Vector const first = f.getFunValue(p);
    Matrix const firstJacobian = f.getJacValue(p);
    EXPECT_EQ(first.equals(residuals(p, 6), 0.0), 1);

    f.getFunValue(Vector(3));
    f.getJacValue(Vector(3));
    EXPECT_EQ(first.equals(residuals(p, 6), 0.0), 1) << "a copy changed with the next evaluation";
    EXPECT_EQ(f.getFunValue(p).equals(first, 0.0), 1);
    EXPECT_EQ(f.getJacValue(p).equals(firstJacobian, 0.0), 1);
}

TEST(CostFun, SurvivesAHookThatChangesASize)
{
    auto f = exponentialFunction<Plain>(6);
    Vector const p = Vector::of({2.0, -0.5, 1.0});
    f.fun = [](Vector const&, Vector& r) { r = Vector(2); };
    f.jac = [](Vector const&, Matrix& J) { J = Matrix(6, 2); };
    EXPECT_MATH_ERROR(f.getFunValue(p), "computeFunValue must keep the size of _funValue");
    EXPECT_MATH_ERROR(f.getJacValue(p), "computeAnaJacValue must keep the size of _jacValue");
    EXPECT_EQ(f.getNbEquations(), 6U);
    EXPECT_EQ(f.getNbVariables(), 3U);

    f.fun = [](Vector const& x, Vector& r) { r = residuals(x, 6); };  // may replace the storage
    f.jac = addExponentialJacobian;
    EXPECT_EQ(f.getFunValue(p).equals(residuals(p, 6), 0.0), 1);
    EXPECT_EQ(f.getJacValue(p).getRow(), 6);
}

TEST(CostFun, NumericJacobianStepsForwardByARelativeStep)
{
    Plain f;
    f.initCostFun(1, 3);
    f.setBoolAnaDer(false);
    std::vector<Vector> asked;
    f.fun = [&](Vector const& p, Vector&) { asked.push_back(p); };

    Vector const x = Vector::of({0.0, -3.0, 1e200});
    f.getJacValue(x);

    Vector const steps = Vector::of({step, 3.0 * step, 1e200 * step});
    ASSERT_EQ(asked.size(), 4U);
    EXPECT_EQ(asked[0].equals(x, 0.0), 1);
    for (int j = 0; j < 3; ++j)
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(asked[j + 1U][k], j == k ? x[k] + steps[k] : x[k]) << j << ' ' << k;
}

TEST(CostFun, NumericJacobianAgreesWithTheAnalyticOne)
{
    // Truncation h/2 · |f''| and rounding ε·|f|/h, both about 2^-26 for values and derivatives of 1.
    constexpr double tolerance = 16 * step;
    RandomData random(3);
    for (unsigned int const m : {1U, 3U, 40U}) {
        auto f = exponentialFunction<Plain>(m);
        for (int trial = 0; trial < 5; ++trial) {
            Vector const p =
                Vector::of({random.uniform(-2, 2), random.uniform(-1, 0), trial - 2.0});
            f.setBoolAnaDer(true);
            Matrix const analytic = f.getJacValue(p);
            f.setBoolAnaDer(false);
            EXPECT_LT(maxDifference(f.getJacValue(p), analytic), tolerance) << m << ": " << p;
        }
    }
}

TEST(CostFun, StatisticsDivideByEquationsAndByRedundancy)
{
    Vector const p = Vector::of({2.0, -0.5, 1.0});
    double const squares = residuals(p, 5).dot(residuals(p, 5));
    auto f = exponentialFunction<Plain>(5);
    EXPECT_DOUBLE_EQ(f.getRMS(p), std::sqrt(squares / 5));
    EXPECT_DOUBLE_EQ(f.getSEUW(p), std::sqrt(squares / 2));
    EXPECT_EQ(exponentialFunction<Plain>(3).getSEUW(p), -1.0);
    EXPECT_EQ(exponentialFunction<Plain>(2).getSEUW(p), -1.0);
}

template <class Function>
class EvaluationMemory : public testing::Test {
};
using BothFunctions = testing::Types<Plain, Weighted>;
TYPED_TEST_SUITE(EvaluationMemory, BothFunctions);

TYPED_TEST(EvaluationMemory, IsTakenOnce)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "small blocks are not pooled under the sanitizer";
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
    GTEST_SKIP() << "small blocks are not pooled under the sanitizer";
#endif
#endif
    auto f = exponentialFunction<TypeParam>(1000);
    f.fun = [](Vector const& p, Vector& r) { r.begin()[0] = p[0]; };
    f.jac = [](Vector const&, Matrix& J) { J.begin()[0] = 1.0; };
    Vector const p = Vector::of({2.0, -0.5, 1.0});
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

TEST(WeightedCostFun, RefusesWhatNeedsInitBeforeInit)
{
    Weighted f;
    Vector all;
    Matrix cov;
    EXPECT_MATH_ERROR(f.setEstimFlags({}), noInit);
    EXPECT_MATH_ERROR(f.getEstimFlags(), noInit);
    EXPECT_MATH_ERROR(f.getEstimFlag(0), noInit);
    EXPECT_MATH_ERROR(f.setFixedParams(Vector()), noInit);
    EXPECT_MATH_ERROR(f.setWeights(Vector()), noInit);
    EXPECT_MATH_ERROR(f.getWeights(), noInit);
    EXPECT_MATH_ERROR(f.getNbTotVariables(), noInit);
    EXPECT_MATH_ERROR(f.getNbFixedVariables(), noInit);
    EXPECT_MATH_ERROR(f.getNonWeightedResiduals(Vector()), noInit);
    EXPECT_MATH_ERROR(f.getFunValue(Vector()), noInit);
    EXPECT_MATH_ERROR(f.getJacValue(Vector()), noInit);
    EXPECT_MATH_ERROR(f.getRMS(Vector()), noInit);
    EXPECT_MATH_ERROR(f.getAllParams(Vector(), all), noInit);
    EXPECT_MATH_ERROR(f.getAllParamsCov(Matrix(), cov), noInit);
    EXPECT_TRUE(f.getFixedParams().empty());
}

TEST(WeightedCostFun, ChecksSizesAndChangesNothingWhenItThrows)
{
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
    EXPECT_MATH_ERROR(f.getFunValue(Vector(3)), "Invalid parameter size");
    EXPECT_MATH_ERROR(f.getJacValue(Vector(3)), "Invalid parameter size");
    EXPECT_MATH_ERROR(f.getNonWeightedResiduals(Vector(1)), "Invalid parameter size");
    Vector all(2);
    EXPECT_MATH_ERROR(f.getAllParams(Vector(2), all), "Invalid params vector size");
    all = Vector(3);
    EXPECT_MATH_ERROR(f.getAllParams(Vector(3), all), "Invalid estim params vector size");
    Matrix cov(3, 2);
    EXPECT_MATH_ERROR(f.getAllParamsCov(Matrix(2, 2), cov), "Invalid covariance matrix size");
    cov = Matrix(2, 3);
    EXPECT_MATH_ERROR(f.getAllParamsCov(Matrix(2, 2), cov), "Invalid covariance matrix size");
    cov = Matrix(3, 3);
    EXPECT_MATH_ERROR(f.getAllParamsCov(Matrix(3, 3), cov),
                      "Invalid estimated parameters covariance matrix size");

    EXPECT_EQ(f.getEstimFlags(), (std::vector<bool>{true, false, true}));
    EXPECT_EQ(f.getNbTotVariables(), 3U);
    EXPECT_EQ(f.getNbVariables(), 2U);
    EXPECT_EQ(f.getNbFixedVariables(), 1U);
    EXPECT_EQ(f.getFixedParams()[0], -0.5);
    EXPECT_EQ(f.getWeights().equals(weights, 0.0), 1);
}

TEST(WeightedCostFun, WaitsForTheFixedValues)
{
    constexpr char const* missing = "Init fixed params before use";
    auto f = exponentialFunction<Weighted>(4);
    f.setEstimFlags({false, true, true});
    EXPECT_MATH_ERROR(f.getFixedParams(), "Call setFixedParams before use");
    EXPECT_MATH_ERROR(f.getFunValue(Vector(2)), missing);
    EXPECT_MATH_ERROR(f.getJacValue(Vector(2)), missing);
    EXPECT_MATH_ERROR(f.getNonWeightedResiduals(Vector(2)), missing);
    EXPECT_MATH_ERROR(f.getRMS(Vector(2)), missing);

    f.setFixedParams(Vector::of({2.0}));
    EXPECT_EQ(f.getFunValue(Vector::of({0.0, 5.0}))[3], 7.0);

    f.setEstimFlags({true, true, true});
    EXPECT_TRUE(f.getFixedParams().empty());
    EXPECT_EQ(f.getFunValue(Vector::of({2.0, 0.0, 5.0}))[3], 7.0);

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
    Vector const p = Vector::of({2.0, -0.5, 1.0});
    Vector const w = RandomData(7).vector(m, 0.5, 2.0);
    Matrix const allCov = RandomData(8).matrix(3, 3);
    for (int pattern = 0; pattern < 8; ++pattern) {
        auto f = exponentialFunction<Weighted>(m);
        std::vector<bool> const flags = {(pattern & 1) != 0, (pattern & 2) != 0,
                                         (pattern & 4) != 0};
        std::vector<int> estimated;
        std::vector<double> fixedValues;
        for (int j = 0; j < 3; ++j)
            if (flags[static_cast<std::size_t>(j)])
                estimated.push_back(j);
            else
                fixedValues.push_back(p[j]);
        int const n = static_cast<int>(estimated.size());
        f.jac = [&](Vector const& at, Matrix& J) {
            for (int i = 0; i < m; ++i)
                for (int j = 0; j < n; ++j) J[i][j] += exponentialGradient(at, i)[estimated[j]];
        };
        f.setEstimFlags(flags);
        f.setFixedParams(toVector(fixedValues));
        f.setWeights(w);
        Vector x(n);
        for (int j = 0; j < n; ++j) x[j] = p[estimated[j]];

        EXPECT_EQ(f.getNonWeightedResiduals(x).equals(residuals(p, m), 0.0), 1) << pattern;
        EXPECT_EQ(f.getFunValue(x).equals(w * residuals(p, m), 0.0), 1) << pattern;
        Matrix const J = f.getJacValue(x);
        f.setBoolAnaDer(false);
        Matrix const numeric = f.getJacValue(x);
        for (int i = 0; i < m; ++i)
            for (int j = 0; j < n; ++j) {
                double const derivative = exponentialGradient(p, i)[estimated[j]];
                EXPECT_DOUBLE_EQ(J[i][j], w[i] * derivative) << pattern;
                EXPECT_NEAR(numeric[i][j], w[i] * w[i] * derivative, 64 * step) << pattern;
            }

        Matrix estimCov(n, n);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) estimCov[i][j] = allCov[estimated[i]][estimated[j]];
        Matrix cov = allCov;
        if (n == 3)
            f.getAllParamsCov(cov, cov);  // in place
        else
            f.getAllParamsCov(estimCov, cov);
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                EXPECT_EQ(cov[i][j], f.getEstimFlag(i) && f.getEstimFlag(j) ? allCov[i][j] : 0.0);
    }
}

TEST(WeightedCostFun, RmsIsWithoutWeightsAndStandardErrorWith)
{
    Vector const p = Vector::of({2.0, -0.5, 1.0});
    Vector const w = Vector::of({1.0, 2.0, 3.0, 4.0, 5.0});
    Vector const r = residuals(p, 5);
    auto f = exponentialFunction<Weighted>(5);
    f.setWeights(w);
    EXPECT_DOUBLE_EQ(f.getRMS(p), std::sqrt(r.dot(r) / 5));
    EXPECT_DOUBLE_EQ(f.getSEUW(p), (w * r).length() / std::sqrt(2.0));

    f.setEstimFlags({false, true, true});
    f.setFixedParams(Vector::of({p[0]}));
    EXPECT_DOUBLE_EQ(f.getSEUW(p(1, 2)), (w * r).length() / std::sqrt(3.0)) << "two are estimated";
}

TEST(WeightedCostFun, AHookMayEvaluateAgain)
{
    auto f = exponentialFunction<Weighted>(5);
    Vector const other = Vector::of({9.0, 9.0, 9.0});
    f.jac = [&](Vector const& p, Matrix& J) {
        f.getFunValue(other);
        J[0][0] = p[0];
    };
    EXPECT_EQ(f.getJacValue(Vector::of({2.0, -0.5, 1.0}))[0][0], 2.0);
}

}  // namespace
