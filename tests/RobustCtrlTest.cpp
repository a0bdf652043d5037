#include "math/LMedS.h"
#include "math/Random.h"
#include "math/Ransac.h"

#include "support/MathErrorExpectations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <functional>
#include <limits>

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
char const* const notEstimated = "Call robustEstimation before use";

// Fits nothing: the k-th fit of a minimal sample has the residuals of a script and fails where the
// script has none; a fit of other data succeeds.
class ScriptedEstimator : public Estimator {
public:
    using Script = std::function<std::vector<double>(int)>;

    ScriptedEstimator(unsigned int nbMinData, unsigned int nbData, Script script)
        : _script(std::move(script))
    {
        init(1, nbMinData);
        setDataColl(std::vector<Vector>(nbData, Vector(1)));
    }

    int trials = 0;
    std::size_t refitSize = 0;

protected:
    bool computeEstimation(std::vector<Vector> const& data) override
    {
        if (data.size() == getNbMinData()) {
            (*_estimParams)[0] = trials;
            return !_script(trials++).empty();
        }
        refitSize = data.size();
        return true;
    }
    void computeResiduals(Vector const& params, Vector& residuals) const override
    {
        std::vector<double> const r = _script(static_cast<int>(params[0]));
        std::copy(r.begin(), r.end(), residuals.begin());
    }

private:
    Script _script;
};

// `support` small residuals first, then large ones; none when it is negative.
std::vector<double> supported(unsigned int n, int support)
{
    std::vector<double> r(support < 0 ? 0 : n, 5.0);
    std::fill_n(r.begin(), support, -0.5);
    return r;
}

struct Consensus : Ransac {
    explicit Consensus(Estimator& estimator)
    {
        setEstimator(&estimator);
        setOutliersThreshold(1.0);
    }
    using RobustCtrl::computeNbSamples;
    using RobustCtrl::randSampleEstim;
};

TEST(RobustCtrl, NumberOfSamplesFollowsTheFormulaTruncated)
{
    for (unsigned int const m : {1U, 2U, 3U, 4U, 5U, 9U}) {
        ScriptedEstimator estimator(m, 2 * m, {});
        Consensus ransac(estimator);
        for (double const p : {0.0, 0.5, 0.99, 1.0 - 0x1p-52}) {
            ransac.setSuccessRatio(p);
            for (double const e : {0.01, 0.1, 0.3, 0.4, 0.5, 0.75}) {
                long double const bad = 1.0L - std::pow(1.0L - e, static_cast<long double>(m));
                double const expected = static_cast<double>(std::log(1.0L - p) / std::log(bad));
                // One side or the other of an integer is rounding's to choose.
                EXPECT_NEAR(ransac.computeNbSamples(e), std::trunc(expected),
                            std::abs(expected - std::round(expected)) < 1e-9 ? 1.0 : 0.0);
            }
        }
    }
    ScriptedEstimator two(2, 4, {});
    Consensus ransac(two);
    EXPECT_EQ(ransac.computeNbSamples(1.0 - 1e-6), UINT_MAX);
    for (double const e : {0.0, 1.0 - 1e-9})
        EXPECT_MATH_ERROR(ransac.computeNbSamples(e), "Bad outlier ratio");
    for (double const e : {-0.1, 1.5, nan})
        EXPECT_MATH_ERROR(ransac.computeNbSamples(e), "Invalid outlier ratio should be in [0;1]");
}

TEST(RobustCtrl, AFailedTrialLeavesResidualsOfZero)
{
    ScriptedEstimator estimator(2, 4, [](int k) { return supported(4, k - 1); });
    Consensus ransac(estimator);
    Vector residuals = Vector::of({1, 2, 3, 4});
    EXPECT_FALSE(ransac.randSampleEstim(residuals));
    EXPECT_EQ(residuals, Vector(4));
    EXPECT_TRUE(ransac.randSampleEstim(residuals));
    EXPECT_EQ(residuals[3], 5.0);
}

TEST(Ransac, ABetterSampleShortensTheBudgetCountedFromTheFirstTrial)
{
    constexpr unsigned int n = 20;
    std::vector<int> afterFailures(39, -1);  // twice 19, one less than end a search of samples of 2
    afterFailures[19] = 10;
    struct Case {
        std::vector<int> supports;  // then 0 for ever
        int trials;
        unsigned int inliers;     // of the result, if any
        unsigned int enough = 0;  // the support threshold
        double outliersRatio = 1.0;
        double successRatio = 0.99;
    };
    Case const cases[] = {
        {{10}, 16, 10},                 // ratio 0.5: ln 0.01 / ln 0.75 = 16.0
        {{10, 0, 0, 0, 0, 18}, 6, 18},  // ratio 0.1 allows 2: over at once
        {{2, 10}, 16, 10},
        {{3}, 16, 3, 0, 0.5},  // no worse than was told
        {{10, 10, 10}, 16, 10},
        {{10, 11, 12, 13}, 3, 12, 12},  // enough
        {{20}, 1, 20, 21},              // enough is at most all
        {{}, 16, 20, 0, 0.5},           // no support: refitted to all
        {{}, 0, 20, 0, 0.5, 0.0},       // no sample either
        {afterFailures, 16 + 38, 10},
        {std::vector<int>(20, -1), 20, 0},
    };
    for (Case const& c : cases) {
        ScriptedEstimator estimator(2, n, [&c](int k) {
            auto const i = static_cast<std::size_t>(k);
            return supported(n, i < c.supports.size() ? c.supports[i] : 0);
        });
        Consensus ransac(estimator);
        ransac.setSupportThreshold(c.enough);
        ransac.setOutliersRatio(c.outliersRatio);
        ransac.setSuccessRatio(c.successRatio);
        ASSERT_EQ(ransac.robustEstimation(), c.inliers > 0);
        EXPECT_EQ(estimator.trials, c.trials);
        EXPECT_EQ(estimator.refitSize, c.inliers);
        if (c.inliers == 0) {
            EXPECT_MATH_ERROR(ransac.getEstimParams(), notEstimated);
            continue;
        }
        EXPECT_EQ(ransac.getNbOutliers(), n - c.inliers);
        EXPECT_FALSE(ransac.isOutlier(c.inliers - 1));
    }
    ScriptedEstimator alone(1, 8, [](int) { return supported(8, 1); });
    Consensus ransac(alone);
    ransac.setOutliersRatio(0.5);
    ASSERT_TRUE(ransac.robustEstimation());
    EXPECT_EQ(ransac.getNbOutliers(), 7U) << "one is support enough";
}

TEST(Ransac, FirstOfTiesWinsAndTheThresholdIsStrict)
{
    ScriptedEstimator estimator(3, 6, [](int k) -> std::vector<double> {
        if (k == 0) return {0.999, 0.999, 0.999, -1, nan, 9};
        return {1, 1, 1, 0.999, 0.999, 0.999};
    });
    Consensus ransac(estimator);
    ASSERT_TRUE(ransac.robustEstimation());
    for (unsigned int i = 0; i < 6; ++i) EXPECT_EQ(ransac.isOutlier(i), i >= 3) << i;
}

TEST(LMedS, ThresholdComesFromTheLeastMedianOfSquares)
{
    std::pair<std::vector<double>, double> const cases[] = {
        // residuals and the median of their squares
        {{1, -2, 3, 4, 5}, 9.0},
        {{6, 1, -2, 3, 4, 5}, 12.5},  // mean of the two in the middle
        {{1, -2, 3, nan, 1e200}, 9.0},
        {{0, 0, 0, 0, 7, 7}, 0.0},
    };
    for (auto const& [residuals, median] : cases) {
        auto const n = static_cast<unsigned int>(residuals.size());
        ScriptedEstimator estimator(2, n, [&given = residuals](int k) {
            std::vector<double> r = given;  // later trials are worse or equal
            if (k > 0) std::reverse(r.begin(), r.end());
            for (double& x : r) x *= k > 1 ? 2.0 : 1.0;
            return r;
        });
        LMedS lmeds;
        lmeds.setEstimator(&estimator);
        ASSERT_TRUE(lmeds.robustEstimation());
        EXPECT_EQ(estimator.trials, 10) << "0.99 and 0.4 take 10 samples of two";
        double const sigma = 1.4826 * (1.0 + 5.0 / (n - 2)) * std::sqrt(median);
        double const threshold = std::max(6.25 * sigma * sigma, 1.4901161193847656e-08);
        EXPECT_DOUBLE_EQ(lmeds.getOutliersThreshold(), threshold);
        for (unsigned int i = 0; i < n; ++i)
            EXPECT_EQ(lmeds.isOutlier(i), !(residuals[i] * residuals[i] < threshold)) << i;
    }
}

TEST(LMedS, FailsWhenDegenerateSamplesUseUpTwiceTheTrials)
{
    // 10 trials wanted: one success in two attempts ends on attempt 20, which is too late.
    for (int const skip : {0, 1}) {
        ScriptedEstimator estimator(
            2, 6, [skip](int k) { return supported(6, k % 2 == skip || k > 100 ? 4 : -1); });
        LMedS lmeds;
        lmeds.setEstimator(&estimator);
        EXPECT_EQ(lmeds.robustEstimation(), skip == 0);
        if (skip == 1) EXPECT_MATH_ERROR(estimator.getEstimParams(), "Call estim before use");
        lmeds.setSuccessRatio(0.0);
        EXPECT_FALSE(lmeds.robustEstimation()) << "no sample, no model";
    }
}

TEST(RobustCtrl, MisuseThrows)
{
    Ransac ransac;
    LMedS lmeds;
    std::vector<Vector> inliers(3);
    EXPECT_MATH_ERROR(ransac.robustEstimation(), "Set estimator before use");
    EXPECT_MATH_ERROR(ransac.getEstimParams(), notEstimated);
    EXPECT_MATH_ERROR(ransac.getInlierRms(), notEstimated);
    EXPECT_MATH_ERROR(ransac.getNbOutliers(), notEstimated);
    EXPECT_MATH_ERROR(ransac.isOutlier(0), notEstimated);
    EXPECT_MATH_ERROR(ransac.getInlierColl(inliers), notEstimated);
    EXPECT_EQ(inliers.size(), 3U);
    EXPECT_MATH_ERROR(lmeds.getOutliersThreshold(), notEstimated);

    char const* const badRatio = "Invalid outliers ratio, should be in ]0, 1]";
    for (double const bad : {-0.1, nan}) {
        EXPECT_MATH_ERROR(ransac.setSuccessRatio(bad), "Invalid success ratio should be in [0;1[");
        EXPECT_MATH_ERROR(ransac.setOutliersThreshold(bad),
                          "Invalid parameter, outliersThreshold should be positive");
    }
    for (double const bad : {-0.1, 0.0, 1.1, nan})
        EXPECT_MATH_ERROR(ransac.setOutliersRatio(bad), badRatio);
    for (double const bad : {-0.1, 0.0, nan})
        EXPECT_MATH_ERROR(lmeds.setOutliersRatio(bad), badRatio);
    EXPECT_MATH_ERROR(lmeds.setOutliersRatio(0.5), "Invalid outliers ratio, should be in ]0;0.5[");
    EXPECT_MATH_ERROR(ransac.setSuccessRatio(1), "Invalid success ratio, can't ensure such ratio");
    EXPECT_EQ(ransac.getSuccessRatio(), 0.99);
    EXPECT_EQ(ransac.getOutliersRatio(), 1.0);
    EXPECT_EQ(lmeds.getOutliersRatio(), 0.4);
    EXPECT_EQ(ransac.getOutliersThreshold(), 0.0);

    ScriptedEstimator small(3, 5, [](int) { return supported(5, 5); });
    ransac.setEstimator(&small);
    EXPECT_MATH_ERROR(ransac.robustEstimation(), "Too few data to compute robust estimation");
}

TEST(RobustCtrl, EverySetterAndAnOtherCollectionEndTheEstimate)
{
    ScriptedEstimator estimator(2, 6, [](int) { return supported(6, 5); });
    Consensus ransac(estimator);
    std::function<void()> const setters[] = {
        [&] { ransac.setEstimator(&estimator); }, [&] { ransac.setSuccessRatio(0.9); },
        [&] { ransac.setOutliersRatio(0.5); },    [&] { ransac.setOutliersThreshold(1.0); },
        [&] { ransac.setSupportThreshold(3); },
    };
    for (auto const& set : setters) {
        ASSERT_TRUE(ransac.robustEstimation());
        EXPECT_DOUBLE_EQ(ransac.getInlierRms(), 0.5);
        EXPECT_MATH_ERROR(ransac.isOutlier(6), "Invalid index value");
        set();
        EXPECT_MATH_ERROR(ransac.getEstimParams(), notEstimated);
    }
    ASSERT_TRUE(ransac.robustEstimation());
    estimator.setDataColl(std::vector<Vector>(9, Vector(1)));
    std::vector<Vector> inliers;
    EXPECT_MATH_ERROR(ransac.getInlierColl(inliers), notEstimated);
    EXPECT_MATH_ERROR(ransac.isOutlier(6), "Invalid index value");
}

}  // namespace
