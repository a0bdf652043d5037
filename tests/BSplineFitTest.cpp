#include "math/BSpline.h"
#include "math/LineEstimator.h"

#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace {

constexpr double pi = 3.14159265358979323846;

// A bumpy arc, or a bumpy ring, of ten control points, far from the origin.
BSplineSimple plantedCurve(int order, bool open)
{
    std::vector<Vector> points(10);
    for (std::size_t i = 0; i < points.size(); ++i) {
        double const angle = (open ? 0.16 : 0.2) * pi * static_cast<double>(i);
        double const radius = i % 3 == 0 ? 5.8 : 5.0;
        points[i] = Vector::of({100.0 + radius * std::cos(angle), radius * std::sin(angle)});
    }
    BSplineSimple curve;
    curve.init(order, points, open);
    return curve;
}

// The same kind of curve, with nothing known of its shape.
BSplineSimple blankCurve(BSplineSimple const& planted, double smoothing)
{
    BSplineSimple blank;
    blank.init(planted.getOrder(), std::vector<Vector>(10, Vector(2)), planted.getOpen());
    blank.setSmoothParam(smoothing);
    return blank;
}

std::vector<Vector> sampled(BSpline const& curve, int n, double sigma, RandomData& random)
{
    Pix::ListPoint<double> list;
    curve.splineToCurve(list, curve.getMaxS() / (n - 0.5));
    std::vector<Vector> points;
    for (auto const& p : list)
        points.push_back(Vector::of({p.x + random.normal(sigma), p.y + random.normal(sigma)}));
    return points;
}

double largestDistance(BSpline const& curve, std::vector<Vector> const& points)
{
    double largest = 0.0;
    for (MatchedPointInfo const& info : curve.initMatchedPoints(points))
        largest = larger(largest, info.distance);
    return largest;
}

// xᵀ · M · x of a band matrix.
double quadraticForm(Matrix const& band, Vector const& x)
{
    double sum = 0.0;
    for (int i = 0; i < band.getRow(); ++i)
        for (int c = 0; c < band.getCol(); ++c)
            sum += (c == 0 ? 1.0 : 2.0) * band[i][c] * x[i] * x[(i + c) % x.getSize()];
    return sum;
}

TEST(BSplineFit, MetricMatricesAreExactWhateverTheStep)
{
    BSplineSimple ring = plantedCurve(4, false);
    ring.setDiscreteStep(0.7);
    for (int i = 0; i < 10; ++i) {  // the known integrals of the uniform cubic
        EXPECT_TRUE((5040.0 * ring.getMetricMatrix().getRowVector(i))
                        .equals(Vector::of({2416, 1191, 120, 1}), 1e-11));
        EXPECT_TRUE((6.0 * ring.getMetricMatrixBis().getRowVector(i))
                        .equals(Vector::of({16, -9, 0, 1}), 1e-13));
    }
    for (int order = 2; order <= 6; ++order) {
        BSpline uneven;
        uneven.init(order, Vector::of({-1, 0, 0.5, 2}), {1, 1, order - 1, 1}, true);
        Vector x(uneven.getNbBSplines());  // the knots' means give C(s) = s
        for (int i = 0; i < x.getSize(); ++i)
            for (int j = 1; j < order; ++j) x[i] += uneven.getKnots()[i + j] / (order - 1);
        EXPECT_NEAR(quadraticForm(uneven.getMetricMatrix(), x), 3.0, 1e-13);  // ∫ s² ds
        EXPECT_NEAR(quadraticForm(uneven.getMetricMatrixBis(), x), 0.0, 1e-11);
    }
}

TEST(BSplineFit, MatchesAreNearestAndPerpendicular)
{
    RandomData random(4);
    for (int const order : {2, 3, 5}) {
        for (bool const open : {true, false}) {
            BSplineSimple const curve = plantedCurve(order, open);
            std::vector<Vector> const dense = sampled(curve, 3000, 0.0, random);
            std::vector<Vector> points(100);
            for (Vector& p : points) p = Vector::of({100, 0}) + random.vector(2, -8.0, 8.0);
            for (MatchedPointInfo const& info : curve.initMatchedPoints(points)) {
                Vector const p = Vector::of({info.point.x, info.point.y});
                for (Vector const& q : dense) EXPECT_LE(info.distance, (p - q).length() + 1e-12);
                Vector const error = p - curve.computeCurvePoint(info.s);
                EXPECT_NEAR(error.length(), info.distance, 1e-12);
                if (info.s == std::floor(info.s) && (order == 2 || open)) continue;  // held there
                EXPECT_NEAR(error.dot(curve.computeTangentToCurve(info.s)), 0.0, 1e-5) << p;
            }
        }
    }
}

TEST(BSplineFit, ChordLengthMatchesInProportion)
{
    // -3 + (0.1 - -3) is not 0.1 in double, but the last point must meet the end of an open curve.
    double const shares[2][4] = {{0, 3.0 / 14, 0.5, 10.0 / 14}, {0, 0.3, 0.7, 1}};
    for (int open = 0; open < 2; ++open) {
        BSpline curve;
        curve.init(3, Vector::of({-3, 0, 0.1}), {}, open == 1);
        auto const matched = curve.initMatchedPointsByChordLength(
            {Vector::of({0, 0}), Vector::of({3, 0}), Vector::of({3, 4}), Vector::of({0, 4})});
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_NEAR(matched[i].s, -3.0 + 3.1 * shares[open][i], 1e-15);
        EXPECT_EQ(matched[3].s == 0.1, open == 1);
    }
}

TEST(BSplineFit, RecoversThePlantedCurve)
{
    RandomData random(5);
    for (int order = 2; order <= 4; ++order) {
        for (bool const open : {true, false}) {
            BSplineSimple const planted = plantedCurve(order, open);
            BSplineSimple fit = blankCurve(planted, 0.0);
            auto matched = fit.initMatchedPointsByChordLength(sampled(planted, 300, 0.0, random));
            EXPECT_LT(fit.refinement(matched), 1e-13) << order;  // 8 units of the last digit of 100
            EXPECT_LT(largestDistance(planted, sampled(fit, 1000, 0.0, random)), 1e-10) << order;
        }
    }
}

TEST(BSplineFit, ErrorsSpreadAsTheCovarianceSays)
{
    // To first order in σ the squared distances / σ² are chi-squared with m - 2n degrees of freedom.
    RandomData random(6);
    BSplineSimple const planted = plantedCurve(3, false);
    constexpr double sigma = 1e-6;
    constexpr int nbTrials = 200, m = 60, n = 10;
    double chiSquared = 0.0;
    for (int trial = 0; trial < nbTrials; ++trial) {
        auto matched = planted.initMatchedPoints(sampled(planted, m, sigma, random));
        chiSquared += m * std::pow(blankCurve(planted, 0.0).refinement(matched) / sigma, 2);
    }
    double const expected = nbTrials * (m - 2 * n);
    EXPECT_NEAR(chiSquared, expected, 5.0 * std::sqrt(2.0 * expected));  // 5 deviations
}

TEST(BSplineFit, LargeSmoothingTendsToTheLineOfOrthogonalRegression)
{
    RandomData random(8);
    std::vector<Vector> points(200);
    for (Vector& p : points) {
        double const along = random.uniform(0.0, 10.0), across = random.normal(0.1);
        p = Vector::of({0.8 * along - 0.6 * across, 0.6 * along + 0.8 * across});
    }
    LineEstimator regression;
    regression.setDataColl(points);
    ASSERT_TRUE(regression.estim());

    // A crooked start, longer than the data: every foot slides along the line.
    BSplineSimple fit;
    fit.init(4,
             {Vector::of({-2, -1}), Vector::of({1, 2}), Vector::of({3, 2}), Vector::of({6, 3}),
              Vector::of({10, 8})},
             true);
    fit.setSmoothParam(1e7);
    auto matched = fit.initMatchedPoints(points);
    Vector residuals(200);
    regression.getResiduals(regression.getEstimParams(), residuals);
    EXPECT_NEAR(fit.refinement(matched), residuals.length() / std::sqrt(200.0), 1e-5);
    EXPECT_LT(quadraticForm(fit.getMetricMatrixBis(), fit.getXControlPoints()), 1e-9);
    EXPECT_LT(quadraticForm(fit.getMetricMatrixBis(), fit.getYControlPoints()), 1e-9);
}

TEST(BSplineFit, RobustRefinementRejectsExactlyTheOutliers)
{
    RandomData random(10);
    for (bool const open : {true, false}) {
        BSplineSimple const planted = plantedCurve(4, open);
        constexpr double sigma = 0.01;
        std::vector<Vector> points = sampled(planted, 300, sigma, random);
        for (std::size_t i = 0; i < points.size(); i += 5)  // outwards
            points[i] += random.uniform(0.1, 0.4) * (points[i] - Vector::of({100, 0}));
        BSplineSimple fit = blankCurve(planted, 1e-4);
        auto matched = fit.initMatchedPointsByChordLength(points);
        EXPECT_LT(fit.robustRefinement(matched), 1.1 * sigma);
        auto sorted = matched;
        std::ranges::sort(sorted, {}, &MatchedPointInfo::distance);
        double const limit = 4.685 * 1.4826 * sorted[150].distance;  // of the biweight
        for (std::size_t i = 0; i < points.size(); ++i) {
            double const t = matched[i].distance / limit;
            EXPECT_NEAR(matched[i].weight, t < 1.0 ? std::pow(1.0 - t * t, 2) : 0.0, 1e-3) << i;
            EXPECT_EQ(matched[i].weight == 0.0, i % 5 == 0) << i;
        }
        EXPECT_LT(largestDistance(planted, sampled(fit, 500, 0.0, random)), 2.0 * sigma);
    }
}

TEST(BSplineFit, MisuseIsNamedAndChangesNothing)
{
    using Points = std::vector<MatchedPointInfo>;
    RandomData random(12);
    BSplineSimple curve = plantedCurve(4, true);
    Points const good = curve.initMatchedPoints(sampled(curve, 50, 0.1, random));
    auto const expectRefused = [&](char const* text, double smoothing, auto spoil) {
        Points matched = good;
        spoil(matched);
        curve.setSmoothParam(smoothing);
        EXPECT_MATH_ERROR(curve.refinement(matched), text);
        EXPECT_MATH_ERROR(curve.robustRefinement(matched), text);
        EXPECT_EQ(matched.front().distance, good.front().distance);
    };
    constexpr char const* invalid = "Invalid measured point";
    expectRefused(invalid, 0.1, [](Points& p) { p.back().point.x = NAN; });
    expectRefused(invalid, 0.1, [](Points& p) { p.back().weight = -1.0; });
    expectRefused(invalid, 0.1, [](Points& p) { p.back().weight = INFINITY; });
    for (double const s : {7.1, -0.1, std::nan("")})
        expectRefused(invalid, 0.1, [s](Points& p) { p.back().s = s; });
    for (double const smoothing : {-1.0, std::nan("")})
        expectRefused("Invalid smoothing parameter", smoothing, [](Points&) {});
    expectRefused("Too few points to fit the BSpline", 0.1, [](Points& p) { p.resize(1); });
    expectRefused("Too few points to fit the BSpline", 0.0, [](Points& p) { p.resize(9); });
    expectRefused("Points do not determine the BSpline", 0.0, [](Points& p) { p.resize(20); });
    expectRefused("Points do not determine the BSpline", 0.0, [](Points& p) {
        for (auto& i : p) i.s = std::floor(0.9 * i.s) + 0.3 + 1e-8 * i.s;  // to half of the digits
    });
    EXPECT_TRUE(curve.getXControlPoints() == plantedCurve(4, true).getXControlPoints());

    for (Vector const& point : {Vector(1), Vector::of({NAN, 0})})
        EXPECT_MATH_ERROR(curve.initMatchedPoints({point}), invalid);
    EXPECT_MATH_ERROR(curve.initMatchedPointsByChordLength({Vector(2), Vector(2)}),
                      "Measured points coincide");
    curve.setDiscreteStep(NAN);
    EXPECT_MATH_ERROR(curve.initMatchedPoints({Vector(2)}), "Invalid discrete step");
    curve.setDiscreteStep(1e-300);  // ends all the same
    EXPECT_EQ(curve.initMatchedPoints({curve.getControlPoints().front()}).front().s, 0.0);
}

}  // namespace
