#include "math/PCAAnalysis.h"

#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

PCAAnalysis analysed(std::vector<Vector> const& points)
{
    PCAAnalysis pca;
    pca.computeAnalysis(points[0].size(), points);
    return pca;
}

TEST(PCAAnalysis, MatchesDirectSumsInAnyDimensionAndNumber)
{
    for (int const d : {1, 2, 3, 12}) {
        for (int const count : {1, 2, 127, 128, 129, 1000}) {
            std::vector<Vector> const points = RandomData(21).vectors(count, d);
            Vector mean(d);
            Matrix covariance(d, d);
            for (Vector const& p : points) mean += p / count;
            for (Vector const& p : points) {
                Matrix const column((p - mean).data(), d, 1);
                covariance += column * column.transpose() * (1.0 / count);
            }
            PCAAnalysis const pca = analysed(points);
            EXPECT_TRUE(pca.getMean().equals(mean, 1e-14)) << count << " points of " << d;
            EXPECT_TRUE(isNear(pca.getCov(), covariance, 1e-14)) << count << " points of " << d;
            Matrix const& V = pca.getPrincipalVectors();
            Matrix spread(d, d);
            spread.setDiagVector(pca.getPrincipalValues());
            EXPECT_TRUE(isNear(V * spread * V.transpose(), covariance, 1e-14));
        }
    }
    PCAAnalysis const still = analysed(std::vector<Vector>(7, Vector::of({0.1, 1e9})));
    EXPECT_TRUE(isNear(still.getCov(), Matrix(2, 2), 0))
        << "equal points have no spread, not even rounding";
}

TEST(PCAAnalysis, ResultsNeedASuccessfulAnalysis)
{
    char const* const notYet = "Call computeAnalysis before use";
    char const* const failed = "Analysis failed, can't get results";
    PCAAnalysis pca;
    EXPECT_MATH_ERROR(pca.getSpaceSize(), notYet);
    EXPECT_MATH_ERROR(pca.getMean(), notYet);
    EXPECT_MATH_ERROR(pca.getPrincipalVectors(), notYet);

    std::vector<Vector> points = RandomData(21).vectors(200, 2);
    pca.computeAnalysis(2, points);
    points.back() = Vector(3);
    EXPECT_MATH_ERROR(pca.computeAnalysis(2, points),
                      "Invalid Vector size, mismatched with spaceSize");
    EXPECT_MATH_ERROR(pca.getCov(), notYet);
    EXPECT_MATH_ERROR(pca.getPrincipalValues(), notYet);

    points.back() = Vector::of({1, std::numeric_limits<double>::quiet_NaN()});
    pca.computeAnalysis(2, points);
    EXPECT_FALSE(pca.getBoolAnalysisSuccess());
    EXPECT_TRUE(std::isnan(pca.getMean()[1]));
    EXPECT_MATH_ERROR(pca.getPrincipalValues(), failed);
    EXPECT_MATH_ERROR(pca.getPrincipalVectors(), failed);

    pca.computeAnalysis(3, {});
    EXPECT_TRUE(pca.getBoolAnalysisSuccess()) << "no point at all counts as success";
    EXPECT_EQ(pca.getSpaceSize(), 3u);
    EXPECT_EQ(pca.getMean(), Vector(3));
    EXPECT_TRUE(isNear(pca.getPrincipalVectors(), Matrix(3, 3), 0));
}

}  // namespace
