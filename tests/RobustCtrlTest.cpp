#include "math/LMedS.h"
#include "math/Random.h"
#include "math/Ransac.h"

#include "support/MathErrorExpectations.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace {

// Fits nothing: the k-th fit of a minimal sample follows a script, a fit of other data succeeds.
class ScriptedEstimator : public Estimator {
public:
    struct Trial {
        bool fits;
        std::vector<double> residuals;
    };

    ScriptedEstimator(unsigned int nbMinData, unsigned int nbData, std::function<Trial(int)> script)
        : _script(std::move(script))
    {
        init(1, nbMinData);
        setDataColl(std::vector<Vector>(nbData, Vector(1)));
    }

    int trials() const { return _trials; }
    std::size_t refitSize() const { return _refitSize; }

protected:
    bool computeEstimation(std::vector<Vector> const& data) override
    {
        if (data.size() != getNbMinData()) {
            _refitSize = data.size();
            return true;
        }
        (*_estimParams)[0] = _trials;
        return _script(_trials++).fits;
    }
    void computeResiduals(Vector const& params, Vector& residuals) const override
    {
        std::vector<double> const r = _script(static_cast<int>(params[0])).residuals;
        std::copy(r.begin(), r.end(), residuals.begin());
    }

private:
    std::function<Trial(int)> _script;
    int _trials = 0;
    std::size_t _refitSize = 0;
};

// `support` small residuals first, then large ones.
ScriptedEstimator::Trial support(unsigned int n, unsigned int support)
{
    std::vector<double> r(n, 5.0);
    std::fill_n(r.begin(), support, -0.5);
    return {true, r};
}

struct OpenRansac : Ransac {
    OpenRansac() { setOutliersThreshold(1.0); }
    using RobustCtrl::computeNbSamples;
};

TEST(RobustCtrl, NumberOfSamplesFollowsTheFormulaTruncated)
{
    for (unsigned int const m : {1U, 2U, 3U, 4U, 5U, 9U}) {
        ScriptedEstimator estimator(m, 2 * m, [](int) { return support(1, 1); });
        OpenRansac ransac;
        ransac.setEstimator(&estimator);
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
    ScriptedEstimator two(2, 4, [](int) { return support(4, 4); });
    OpenRansac ransac;
    ransac.setEstimator(&two);
    EXPECT_EQ(ransac.computeNbSamples(0.4), 10U);
    EXPECT_EQ(ransac.computeNbSamples(1.0 - 1e-6), std::numeric_limits<unsigned int>::max());
    EXPECT_MATH_ERROR(ransac.computeNbSamples(0.0), "Bad outlier ratio");
    EXPECT_MATH_ERROR(ransac.computeNbSamples(1.0 - 1e-9), "Bad outlier ratio");
    EXPECT_MATH_ERROR(ransac.computeNbSamples(1.5), "Invalid outlier ratio should be in [0;1]");
    EXPECT_MATH_ERROR(ransac.computeNbSamples(std::nan("")), "Invalid outlier ratio should be in [0;1]");
}

TEST(Ransac, ABetterSampleShortensTheBudgetCountedFromTheFirstTrial)
{
    constexpr unsigned int n = 20;
    struct Case {
        std::vector<unsigned int> supports;  // then 0 for ever
        int trials;
        unsigned int inliers;
        unsigned int enough = 0;  // the support threshold
    };
    Case const cases[] = {
        {{10}, 16, 10},                      // ratio 0.5: ln 0.01 / ln 0.75 = 16.0
        {{10, 0, 0, 0, 0, 18}, 6, 18},       // ratio 0.1 allows 2: over at once
        {{2, 10}, 16, 10},
        {{20}, 1, 20},                       // all data support it
        {{10, 10, 10}, 16, 10},
        {{10, 11, 12, 13}, 3, 12, 12},       // enough
        {{10}, 16, 10, 21},                  // more than there are data: all
    };
    for (Case const& c : cases) {
        ScriptedEstimator estimator(2, n, [&c](int k) {
            auto const i = static_cast<std::size_t>(k);
            return support(n, i < c.supports.size() ? c.supports[i] : 0);
        });
        OpenRansac ransac;
        ransac.setEstimator(&estimator);
        ransac.setSupportThreshold(c.enough);
        ASSERT_TRUE(ransac.robustEstimation());
        EXPECT_EQ(estimator.trials(), c.trials);
        EXPECT_EQ(estimator.refitSize(), c.inliers);
        EXPECT_EQ(ransac.getNbOutliers(), n - c.inliers);
        EXPECT_EQ(ransac.isOutlier(c.inliers - 1), false);
    }
}

TEST(Ransac, FirstOfTiesWinsAndTheThresholdIsStrict)
{
    ScriptedEstimator estimator(2, 6, [](int k) {
        std::vector<double> r(6, 9.0);
        for (int i = 0; i < 3; ++i) r[static_cast<std::size_t>(k == 0 ? i : 5 - i)] = 0.999;
        r[3] = k == 0 ? -1.0 : r[3];
        r[4] = k == 0 ? std::nan("") : r[4];
        return ScriptedEstimator::Trial{true, r};
    });
    OpenRansac ransac;
    ransac.setEstimator(&estimator);
    ASSERT_TRUE(ransac.robustEstimation());
    for (unsigned int i = 0; i < 6; ++i) EXPECT_EQ(ransac.isOutlier(i), i >= 3) << i;
}

TEST(Ransac, GivesUpAfterTenTimesTheSampleSizeOfFailuresInARow)
{
    constexpr int limit = 20;
    for (int const failures : {limit - 1, limit}) {
        ScriptedEstimator estimator(2, 8, [failures](int k) {
            return k % (failures + 1) < failures ? ScriptedEstimator::Trial{false, {}} : support(8, 6);
        });
        OpenRansac ransac;
        ransac.setEstimator(&estimator);
        EXPECT_EQ(ransac.robustEstimation(), failures < limit);
        if (failures < limit) continue;
        EXPECT_EQ(estimator.trials(), limit);
        EXPECT_MATH_ERROR(ransac.getEstimParams(), "Call robustEstimation before use");
        EXPECT_MATH_ERROR(estimator.getEstimParams(), "Call estim before use");
    }
}

TEST(Ransac, WithoutAnySupportRefitsToAllData)
{
    ScriptedEstimator estimator(2, 8, [](int) { return support(8, 0); });
    OpenRansac ransac;
    ransac.setOutliersRatio(0.5);
    ransac.setEstimator(&estimator);
    ASSERT_TRUE(ransac.robustEstimation());
    EXPECT_EQ(estimator.refitSize(), 8U);
    EXPECT_EQ(ransac.getNbOutliers(), 0U);
    ransac.setSuccessRatio(0.0);  // no sample at all
    ASSERT_TRUE(ransac.robustEstimation());
    EXPECT_EQ(ransac.getNbOutliers(), 0U);
    ScriptedEstimator alone(1, 8, [](int) { return support(8, 1); });
    ransac.setSuccessRatio(0.9);
    ransac.setEstimator(&alone);
    ASSERT_TRUE(ransac.robustEstimation());
    EXPECT_EQ(ransac.getNbOutliers(), 7U) << "one is support enough";
}

TEST(LMedS, ThresholdComesFromTheLeastMedianOfSquares)
{
    struct Case {
        std::vector<double> residuals;
        double median;  // of the squares
    };
    Case const cases[] = {
        {{1, -2, 3, 4, 5}, 9.0},
        {{6, 1, -2, 3, 4, 5}, 12.5},  // mean of the two in the middle
        {{1, -2, 3, std::nan(""), 1e200}, 9.0},
        {{0, 0, 0, 0, 7, 7}, 0.0},
    };
    for (Case const& c : cases) {
        auto const n = static_cast<unsigned int>(c.residuals.size());
        ScriptedEstimator estimator(2, n, [&c](int k) {
            // Later trials are worse or equal.
            std::vector<double> r = c.residuals;
            if (k > 0) std::reverse(r.begin(), r.end());
            if (k > 1) std::transform(r.begin(), r.end(), r.begin(), [](double x) { return 2 * x; });
            return ScriptedEstimator::Trial{true, r};
        });
        LMedS lmeds;
        lmeds.setEstimator(&estimator);
        ASSERT_TRUE(lmeds.robustEstimation());
        EXPECT_EQ(estimator.trials(), 10) << "0.99 and 0.4 take 10 samples of two";
        double const sigma = 1.4826 * (1.0 + 5.0 / (n - 2)) * std::sqrt(c.median);
        double const threshold = std::max(6.25 * sigma * sigma, 1.4901161193847656e-08);
        EXPECT_DOUBLE_EQ(lmeds.getOutliersThreshold(), threshold);
        for (unsigned int i = 0; i < n; ++i)
            EXPECT_EQ(lmeds.isOutlier(i), !(c.residuals[i] * c.residuals[i] < threshold)) << i;
    }
}

TEST(LMedS, FailsWhenDegenerateSamplesUseUpTwiceTheTrials)
{
    // 10 trials wanted: one success in two attempts ends on attempt 20, which is too late.
    for (int const skip : {0, 1}) {
        ScriptedEstimator estimator(2, 6, [skip](int k) {
            return k % 2 == skip || k > 100 ? support(6, 4) : ScriptedEstimator::Trial{false, {}};
        });
        LMedS lmeds;
        lmeds.setEstimator(&estimator);
        EXPECT_EQ(lmeds.robustEstimation(), skip == 0);
    }
    ScriptedEstimator estimator(2, 6, [](int) { return support(6, 4); });
    LMedS lmeds;
    lmeds.setSuccessRatio(0.0);
    lmeds.setEstimator(&estimator);
    EXPECT_FALSE(lmeds.robustEstimation()) << "no sample, no model";
}

TEST(RobustCtrl, MisuseThrows)
{
    Ransac ransac;
    LMedS lmeds;
    char const* const notEstimated = "Call robustEstimation before use";
    std::vector<Vector> inliers(3);
    EXPECT_MATH_ERROR(ransac.robustEstimation(), "Set estimator before use");
    EXPECT_MATH_ERROR(ransac.getEstimParams(), notEstimated);
    EXPECT_MATH_ERROR(ransac.getInlierRms(), notEstimated);
    EXPECT_MATH_ERROR(ransac.getNbOutliers(), notEstimated);
    EXPECT_MATH_ERROR(ransac.isOutlier(0), notEstimated);
    EXPECT_MATH_ERROR(ransac.getInlierColl(inliers), notEstimated);
    EXPECT_EQ(inliers.size(), 3U);
    EXPECT_MATH_ERROR(lmeds.getOutliersThreshold(), notEstimated);

    EXPECT_MATH_ERROR(ransac.setSuccessRatio(-0.1), "Invalid success ratio should be in [0;1[");
    EXPECT_MATH_ERROR(ransac.setSuccessRatio(std::nan("")), "Invalid success ratio should be in [0;1[");
    EXPECT_MATH_ERROR(ransac.setSuccessRatio(1.0), "Invalid success ratio, can't ensure such ratio");
    EXPECT_MATH_ERROR(ransac.setOutliersRatio(0.0), "Invalid outliers ratio, should be in ]0, 1]");
    EXPECT_MATH_ERROR(ransac.setOutliersRatio(1.1), "Invalid outliers ratio, should be in ]0, 1]");
    EXPECT_MATH_ERROR(lmeds.setOutliersRatio(0.5), "Invalid outliers ratio, should be in ]0;0.5[");
    EXPECT_MATH_ERROR(lmeds.setOutliersRatio(0.0), "Invalid outliers ratio, should be in ]0, 1]");
    EXPECT_MATH_ERROR(ransac.setOutliersThreshold(-1.0),
                      "Invalid parameter, outliersThreshold should be positive");
    EXPECT_EQ(ransac.getSuccessRatio(), 0.99);
    EXPECT_EQ(ransac.getOutliersRatio(), 1.0);
    EXPECT_EQ(lmeds.getOutliersRatio(), 0.4);
    EXPECT_EQ(ransac.getOutliersThreshold(), 0.0);

    ScriptedEstimator small(3, 5, [](int) { return support(5, 5); });
    ransac.setEstimator(&small);
    EXPECT_MATH_ERROR(ransac.robustEstimation(), "Too few data to compute robust estimation");
}

TEST(RobustCtrl, EverySetterAndAnOtherCollectionEndTheEstimate)
{
    ScriptedEstimator estimator(2, 6, [](int) { return support(6, 6); });
    OpenRansac ransac;
    std::function<void()> const setters[] = {
        [&] { ransac.setEstimator(&estimator); },  [&] { ransac.setSuccessRatio(0.9); },
        [&] { ransac.setOutliersRatio(0.5); },     [&] { ransac.setOutliersThreshold(1.0); },
        [&] { ransac.setSupportThreshold(3); },
    };
    ransac.setEstimator(&estimator);
    for (auto const& set : setters) {
        ASSERT_TRUE(ransac.robustEstimation());
        EXPECT_NEAR(ransac.getInlierRms(), 0.5, 1e-15);
        EXPECT_MATH_ERROR(ransac.isOutlier(6), "Invalid index value");
        set();
        EXPECT_MATH_ERROR(ransac.getEstimParams(), "Call robustEstimation before use");
    }
    ASSERT_TRUE(ransac.robustEstimation());
    estimator.setDataColl(std::vector<Vector>(9, Vector(1)));
    std::vector<Vector> inliers;
    EXPECT_MATH_ERROR(ransac.getInlierColl(inliers), "Call robustEstimation before use");
    EXPECT_MATH_ERROR(ransac.isOutlier(6), "Invalid index value");
}

}  // namespace
