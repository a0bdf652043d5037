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

Matrix coefficients(int m)
{
    return RandomData(1).matrix(m, 3);
}

// The residuals A · x. The hooks add, so that a start from anything but zero shows.
template <class Function>
Function linearFunction(Matrix const& A)
{
    Function f;
    f.initCostFun(A.getNbRow(), A.getNbCol());
    f.fun = [A](Vector const& x, Vector& r) { r += A * x; };
    f.jac = [A](Vector const&, Matrix& J) { J += A; };
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
    auto f = linearFunction<TypeParam>(coefficients(1000));
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
    Matrix const A = coefficients(6);
    auto f = linearFunction<Plain>(A);
    Vector const first = f.getFunValue(p);
    f.getFunValue(Vector(3));
    EXPECT_EQ(first, A * p) << "a copy changed with the next evaluation";
    EXPECT_EQ(f.getFunValue(p), first);
    for (int call = 0; call < 2; ++call) EXPECT_TRUE(isNear(f.getJacValue(p), A, 0)) << call;
}

TEST(CostFun, SurvivesAHookThatChangesASize)
{
    auto f = linearFunction<Plain>(coefficients(6));
    f.fun = [](Vector const&, Vector& r) { r = Vector(2); };
    f.jac = [](Vector const&, Matrix& J) { J = Matrix(6, 2); };
    EXPECT_MATH_ERROR(f.getFunValue(p), "computeFunValue must keep the size of _funValue");
    EXPECT_MATH_ERROR(f.getJacValue(p), "computeAnaJacValue must keep the size of _jacValue");
    f.fun = [](Vector const&, Vector& r) { r = Vector(6); };  // may replace the storage
    f.jac = [](Vector const&, Matrix&) {};
    EXPECT_EQ(f.getFunValue(p), Vector(6));
    EXPECT_TRUE(isNear(f.getJacValue(p), Matrix(6, 3), 0));

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
    Matrix const A = coefficients(5);
    Vector const r = A * p, w = Vector::of({1.0, 2.0, 3.0, 4.0, 5.0});
    auto plain = linearFunction<Plain>(A);
    EXPECT_DOUBLE_EQ(plain.getRMS(p), r.length() / std::sqrt(5.0));
    EXPECT_DOUBLE_EQ(plain.getSEUW(p), r.length() / std::sqrt(2.0));
    for (int const m : {2, 3}) EXPECT_EQ(linearFunction<Plain>(coefficients(m)).getSEUW(p), -1.0);

    auto weighted = linearFunction<Weighted>(A);
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

    auto f = linearFunction<Weighted>(coefficients(4));
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
    Matrix const A = coefficients(4);
    auto f = linearFunction<Weighted>(A);
    f.setEstimFlags({false, true, true});
    EXPECT_MATH_ERROR(f.getFixedParams(), "Call setFixedParams before use");
    expectEvaluationsThrow(f, Vector(2), "Init fixed params before use");
    f.setEstimFlags({true, true, true});
    EXPECT_TRUE(f.getFixedParams().empty());
    EXPECT_EQ(f.getFunValue(p), A * p);

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
    Matrix const A = coefficients(m);
    Matrix W(m, m);
    for (int i = 0; i < m; ++i) W[i][i] = w[i];
    for (unsigned int pattern = 0; pattern < 8; ++pattern) {
        SCOPED_TRACE(pattern);
        auto f = linearFunction<Weighted>(A);
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
        Matrix const derivatives = A * pick.transpose();
        f.jac = [&](Vector const& all, Matrix& J) {
            EXPECT_EQ(all, p);
            J += derivatives;
        };
        f.setEstimFlags(flags);
        f.setFixedParams(toVector(fixed));
        f.setWeights(w);

        EXPECT_EQ(f.getNonWeightedResiduals(x), A * p);
        EXPECT_EQ(f.getFunValue(x), w * (A * p));
        EXPECT_TRUE(isNear(f.getJacValue(x), W * derivatives, 0));
        f.setBoolAnaDer(false);
        // Of values about 1 the rounding over a step is 2^-26.
        EXPECT_TRUE(isNear(f.getJacValue(x), W * W * derivatives, 64 * step));

        Matrix const estimCov = pick * allCov * pick.transpose();
        Matrix cov = allCov;
        f.getAllParamsCov(n == 3 ? cov : estimCov, cov);  // all estimated: in place
        EXPECT_TRUE(isNear(cov, pick.transpose() * estimCov * pick, 0));
    }
}

TEST(WeightedCostFun, AHookMayEvaluateAgain)
{
    auto f = linearFunction<Weighted>(coefficients(5));
    f.jac = [&](Vector const& x, Matrix& J) {
        f.getFunValue(Vector(3));
        J[0][0] = x[0];
    };
    EXPECT_EQ(f.getJacValue(p)[0][0], 2.0);
}

}  // namespace
