#include "math/BSpline.h"

#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

Vector vectorOf(Pix::Point<double> p)
{
    return Vector::of({p.x, p.y});
}

// A bumpy arc, or a bumpy ring, of ten control points, far from the origin.
BSplineSimple plantedCurve(int order, bool open)
{
    constexpr double pi = 3.14159265358979323846;
    std::vector<Vector> points;
    for (int i = 0; i < 10; ++i) {
        double const angle = 0.2 * pi * i * (open ? 0.8 : 1.0);
        double const radius = i % 3 == 0 ? 5.8 : 5.0;
        points.push_back(Vector::of({100.0 + radius * std::cos(angle), radius * std::sin(angle)}));
    }
    BSplineSimple curve;
    curve.init(order, points, open);
    return curve;
}

std::vector<Vector> sampled(BSpline const& curve, int n, double sigma, RandomData& random)
{
    Pix::ListPoint<double> list;
    curve.splineToCurve(list, curve.getMaxS() / (n - 0.5));
    std::vector<Vector> points;
    auto const noise = [&] { return sigma * random.normal(1.0); };
    for (auto const& p : list) points.push_back(Vector::of({p.x + noise(), p.y + noise()}));
    return points;
}

// The same kind of curve, with nothing known of its shape.
BSplineSimple blankLike(BSpline const& curve, double smoothing)
{
    BSplineSimple blank;
    blank.init(curve.getOrder(), std::vector<Vector>(curve.getControlPoints().size(), Vector(2)),
               curve.getOpen());
    blank.setSmoothParam(smoothing);
    return blank;
}

double largestDistance(BSpline const& curve, std::vector<Vector> const& points)
{
    double largest = 0.0;
    for (MatchedPointInfo const& info : curve.initMatchedPoints(points))
        largest = std::max(largest, info.distance);
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

double bending(BSpline const& curve)
{
    return quadraticForm(curve.getMetricMatrixBis(), curve.getXControlPoints()) +
           quadraticForm(curve.getMetricMatrixBis(), curve.getYControlPoints());
}

TEST(BSplineFit, MetricMatricesOfTheUniformCubic)
{
    BSplineSimple curve = plantedCurve(4, false);
    for (double const step : {0.1, 0.7}) {  // exact: the step has no part in it
        curve.setDiscreteStep(step);
        for (int i = 0; i < 10; ++i) {
            Vector const products = 5040.0 * curve.getMetricMatrix().getRowVector(i);
            Vector const bends = 6.0 * curve.getMetricMatrixBis().getRowVector(i);
            EXPECT_TRUE(products.equals(Vector::of({2416, 1191, 120, 1}), 1e-11));
            EXPECT_TRUE(bends.equals(Vector::of({16, -9, 0, 1}), 1e-13));
        }
    }
}

TEST(BSplineFit, MetricMatrixIntegratesSquaresOverUnevenSpans)
{
    RandomData random(3);
    for (int order = 1; order <= 6; ++order) {
        for (bool const open : {true, false}) {
            BSpline curve;
            curve.init(order, Vector::of({-1, 0, 0.5, 2}), {1, 1, 2, 1}, open);
            std::vector<Vector> points;
            for (int i = 0; i < curve.getNbBSplines(); ++i) points.push_back(random.vector(2));
            curve.setOrChangeControlPoints(points);
            double integral = 0.0;
            int const n = 30000;  // midpoint rule, 1e-4 apart: an error of some 1e-8
            for (int i = 0; i < n; ++i) {
                double const x = curve.computeCurvePoint(-1.0 + (i + 0.5) * 3.0 / n)[0];
                integral += x * x * 3.0 / n;
            }
            EXPECT_NEAR(quadraticForm(curve.getMetricMatrix(), curve.getXControlPoints()), integral,
                        1e-6);
        }
    }
}

TEST(BSplineFit, MatchesAreNearestAndPerpendicular)
{
    RandomData random(4);
    for (int order = 2; order <= 5; ++order) {
        for (bool const open : {true, false}) {
            BSplineSimple const curve = plantedCurve(order, open);
            std::vector<Vector> points;
            for (int i = 0; i < 200; ++i)
                points.push_back(Vector::of({random.uniform(92, 108), random.uniform(-8, 8)}));
            std::vector<Vector> const dense = sampled(curve, 5000, 0.0, random);
            for (MatchedPointInfo const& info : curve.initMatchedPoints(points)) {
                Vector const p = vectorOf(info.point);
                double nearest = std::numeric_limits<double>::infinity();
                for (Vector const& q : dense) nearest = std::min(nearest, (p - q).length());
                EXPECT_LE(info.distance, nearest + 1e-12) << p;
                Vector const error = p - curve.computeCurvePoint(info.s);
                EXPECT_NEAR(error.length(), info.distance, 1e-12);
                double const s = info.s;
                bool const isHeld = s == std::floor(s) && (order == 2 || open);  // corner or end
                double const along = error.dot(curve.computeTangentToCurve(s));
                EXPECT_NEAR(isHeld ? 0.0 : along, 0.0, 1e-5) << p;
            }
        }
    }
}

TEST(BSplineFit, ChordLengthMatchesInProportion)
{
    std::vector<Vector> const square = {Vector::of({0, 0}), Vector::of({3, 0}), Vector::of({3, 4}),
                                        Vector::of({0, 4})};
    auto const parametersOf = [&](bool open) {
        BSpline curve;
        curve.init(3, Vector::of({-1, 0, 3}), {}, open);
        Vector s(4);
        auto const matched = curve.initMatchedPointsByChordLength(square);
        for (int i = 0; i < 4; ++i) s[i] = matched[static_cast<std::size_t>(i)].s;
        return s;
    };
    EXPECT_TRUE(parametersOf(true).equals(Vector::of({-1, 0.2, 1.8, 3}), 1e-15));
    EXPECT_TRUE(parametersOf(false).equals(
        4.0 / 14.0 * Vector::of({0, 3, 7, 10}) - Vector::of({1, 1, 1, 1}), 1e-15));
}

TEST(BSplineFit, RecoversThePlantedCurve)
{
    RandomData random(5);
    for (int order = 2; order <= 4; ++order) {
        for (bool const open : {true, false}) {
            SCOPED_TRACE(testing::Message() << (open ? "open" : "closed") << ", order " << order);
            BSplineSimple const planted = plantedCurve(order, open);
            std::vector<Vector> const points = sampled(planted, 300, 0.0, random);
            BSplineSimple fit = blankLike(planted, 0.0);
            auto matched = fit.initMatchedPointsByChordLength(points);
            constexpr double rounding = 1e-13;  // eight units of the last digit of 100
            EXPECT_LT(fit.refinement(matched), rounding);
            EXPECT_LT(largestDistance(fit, points), 10.0 * rounding);
            EXPECT_LT(largestDistance(planted, sampled(fit, 1000, 0.0, random)), 1e-10);
        }
    }
}

TEST(BSplineFit, LinearFitSpreadsAsItsCovariance)
{
    // δᵀ(NᵀN)δ / σ² of the n control coordinates is chi-squared with n degrees of freedom.
    RandomData random(6);
    BSplineSimple const planted = plantedCurve(4, true);
    constexpr int nbPoints = 100, nbTrials = 400, n = 10;
    constexpr double sigma = 0.05;
    double sum = 0.0;
    for (int trial = 0; trial < nbTrials; ++trial) {
        std::vector<MatchedPointInfo> matched(nbPoints);
        for (int i = 0; i < nbPoints; ++i) {
            auto& info = matched[static_cast<std::size_t>(i)];
            info.s = planted.getMaxS() * i / (nbPoints - 1);
            Vector const p = planted.computeCurvePoint(info.s);
            info.point = {p[0] + random.normal(sigma), p[1] + random.normal(sigma)};
        }
        std::vector<MatchedPointInfo> const given = matched;
        BSplineSimple fit = blankLike(planted, 0.0);
        fit.refinement(matched, 1);
        for (MatchedPointInfo const& info : given) {
            Vector const error = fit.computeCurvePoint(info.s) - planted.computeCurvePoint(info.s);
            sum += error.dot(error) / (sigma * sigma);
        }
    }
    double const expected = 2.0 * n * nbTrials;
    EXPECT_NEAR(sum, expected, 5.0 * std::sqrt(2.0 * expected));  // five standard deviations
}

TEST(BSplineFit, DistancesSpreadAsTheDegreesOfFreedomSay)
{
    // To first order in the noise, Σ d² / σ² is chi-squared with m - 2n degrees of freedom.
    RandomData random(7);
    BSplineSimple const planted = plantedCurve(3, false);
    constexpr double sigma = 1e-6;
    double sum = 0.0, expected = 0.0;
    for (int trial = 0; trial < 100; ++trial) {
        BSplineSimple fit = planted;
        fit.setSmoothParam(0.0);
        auto matched = fit.initMatchedPoints(sampled(planted, 60, sigma, random));
        double const rms = fit.refinement(matched);
        auto const m = static_cast<double>(matched.size());
        sum += m * rms * rms / (sigma * sigma);
        expected += m - 20.0;
    }
    EXPECT_NEAR(sum, expected, 5.0 * std::sqrt(2.0 * expected));
}

TEST(BSplineFit, LargeSmoothingTendsToTheLineOfOrthogonalRegression)
{
    RandomData random(8);
    std::vector<Vector> points;
    Vector mean(2);
    for (int i = 0; i < 200; ++i) {
        points.push_back(
            Vector::of({0.04 * i + random.normal(0.1), 0.03 * i + random.normal(0.1)}));
        mean += points.back() / 200.0;
    }
    double xx = 0.0, xy = 0.0, yy = 0.0;
    for (Vector const& p : points) {
        Vector const d = p - mean;
        xx += d[0] * d[0] / 200.0;
        xy += d[0] * d[1] / 200.0;
        yy += d[1] * d[1] / 200.0;
    }
    double const variance = 0.5 * (xx + yy) - std::hypot(0.5 * (xx - yy), xy);  // least eigenvalue

    // A crooked start, longer than the data: every foot slides along the line.
    BSplineSimple fit;
    fit.init(4,
             {Vector::of({-2, -1}), Vector::of({1, 2}), Vector::of({3, 2}), Vector::of({6, 3}),
              Vector::of({10, 8})},
             true);
    fit.setSmoothParam(1e7);
    auto matched = fit.initMatchedPoints(points);
    EXPECT_NEAR(fit.refinement(matched), std::sqrt(variance), 1e-5);
    EXPECT_LT(bending(fit), 1e-9);
}

TEST(BSplineFit, SmoothingKeepsAClosedCurveFair)
{
    RandomData random(9);
    std::vector<Vector> points;
    for (double angle = 0.0; angle < 6.28; angle += 0.05)
        points.push_back(Vector::of({5.0 * std::cos(angle) + random.normal(0.1),
                                     5.0 * std::sin(angle) + random.normal(0.1)}));
    double lastBending = std::numeric_limits<double>::infinity(), lastRms = 0.0;
    for (double const smoothing : {1e-3, 0.1, 1.0}) {
        BSplineSimple fit;
        fit.init(4, std::vector<Vector>(30, Vector(2)), false);
        fit.setSmoothParam(smoothing);
        auto matched = fit.initMatchedPointsByChordLength(points);
        double const rms = fit.refinement(matched);
        EXPECT_LT(bending(fit), lastBending);
        EXPECT_GT(rms, lastRms);
        lastBending = bending(fit);
        lastRms = rms;
        if (smoothing < 1.0) continue;
        for (double s = 0.1; s < 30.0; s += 0.1)  // convex
            EXPECT_GT(fit.computeNormalToCurve(s - 0.1).dot(fit.computeTangentToCurve(s)), 0.0);
    }
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
        BSplineSimple fit = blankLike(planted, 1e-4);
        auto matched = fit.initMatchedPointsByChordLength(points);
        double const rms = fit.robustRefinement(matched);
        EXPECT_LT(rms, 1.1 * sigma);
        for (std::size_t i = 0; i < points.size(); ++i)
            EXPECT_EQ(matched[i].weight == 0.0, i % 5 == 0) << i;
        EXPECT_LT(largestDistance(planted, sampled(fit, 500, 0.0, random)), 0.02);
    }
}

TEST(BSplineFit, PointsWithoutWeightHaveNoSay)
{
    RandomData random(11);
    BSplineSimple const planted = plantedCurve(4, true);
    auto const matched = planted.initMatchedPoints(sampled(planted, 100, 0.01, random));
    auto with = matched, without = matched;
    with.push_back(matched.front());
    with.back().point = {0.0, 50.0};
    with.back().weight = 0.0;
    BSplineSimple a = planted, b = planted;
    EXPECT_DOUBLE_EQ(a.refinement(with), b.refinement(without));
    EXPECT_TRUE(a.getXControlPoints().equals(b.getXControlPoints(), 1e-12));
    EXPECT_GT(with.back().distance, 50.0);
}

TEST(BSplineFit, MisuseIsNamedAndChangesNothing)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    RandomData random(12);
    BSplineSimple curve = plantedCurve(4, true);
    auto const good = curve.initMatchedPoints(sampled(curve, 50, 0.1, random));
    auto const expectError = [&](double smoothing, auto spoil, char const* message) {
        auto matched = good;
        spoil(matched);
        curve.setSmoothParam(smoothing);
        double const before = matched.empty() ? 0.0 : matched.back().distance;
        EXPECT_MATH_ERROR(curve.refinement(matched), message);
        EXPECT_MATH_ERROR(curve.robustRefinement(matched), message);
        EXPECT_EQ(matched.empty() ? 0.0 : matched.back().distance, before);
    };
    auto const last = [](auto change) {
        return [change](auto& matched) { change(matched.back()); };
    };
    expectError(0.1, last([](auto& info) { info.point.x = nan; }), "Invalid measured point");
    expectError(0.1, last([](auto& info) { info.weight = -1.0; }), "Invalid measured point");
    expectError(0.1, last([](auto& info) { info.weight = INFINITY; }), "Invalid measured point");
    expectError(0.1, last([](auto& info) { info.s = 7.1; }), "Invalid measured point");
    expectError(0.1, last([](auto& info) { info.s = nan; }), "Invalid measured point");
    expectError(-1.0, last([](auto&) {}), "Invalid smoothing parameter");
    expectError(nan, last([](auto&) {}), "Invalid smoothing parameter");
    expectError(
        0.1, [](auto& matched) { matched.resize(1); }, "Too few points to fit the BSpline");
    expectError(
        0.0, [](auto& matched) { matched.resize(9); }, "Too few points to fit the BSpline");
    expectError(
        0.0, [](auto& matched) { matched.resize(20); }, "Points do not determine the BSpline");
    expectError(
        0.1, [](auto& matched) { matched.clear(); }, "Too few points to fit the BSpline");
    EXPECT_TRUE(curve.getXControlPoints() == plantedCurve(4, true).getXControlPoints());

    EXPECT_MATH_ERROR(curve.initMatchedPoints({Vector(1)}), "Invalid measured point");
    EXPECT_MATH_ERROR(curve.initMatchedPoints({Vector::of({nan, 0})}), "Invalid measured point");
    EXPECT_MATH_ERROR(curve.initMatchedPointsByChordLength({Vector(2), Vector(2)}),
                      "Measured points coincide");
    EXPECT_TRUE(curve.initMatchedPointsByChordLength({}).empty());
    for (double const step : {0.0, -1.0, nan}) {
        curve.setDiscreteStep(step);
        EXPECT_MATH_ERROR(curve.initMatchedPoints({Vector(2)}), "Invalid discrete step");
    }
    curve.setDiscreteStep(1e-300);
    EXPECT_EQ(curve.initMatchedPoints({curve.getControlPoints().front()}).front().s, 0.0);
    std::vector<MatchedPointInfo> none;
    EXPECT_MATH_ERROR(BSpline().refinement(none), "Uninitialized  BSpline , use init()");
}

}  // namespace
