#include "math/BSpline.h"

#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace {

// A dozen roundings of values of magnitude 1 to 10, through differences of knots down to 0.4.
constexpr double tolerance = 1e-13;
constexpr char const* invalidStructure =
    "Invalid BSpline, check order, break points and multiplicities";

struct Probe : BSpline {
    explicit Probe(BSpline const& curve) : BSpline(curve) {}
    using BSpline::computeDerivatedParamPowers;
    using BSpline::computeDerivParamPowers;
    using BSpline::computeParamPowers;
    using BSpline::computeSecondDerivatedParamPowers;
    using BSpline::computeThirdDerivatedParamPowers;
};

std::size_t at(int i)
{
    return static_cast<std::size_t>(i);
}

// The knots written out over several periods.
std::vector<double> knotsOf(BSpline const& curve)
{
    Vector const& b = curve.getBreakPoints();
    int const turns = curve.getOpen() ? 0 : 8, last = curve.getNbSpans();
    std::vector<double> knots;
    for (int turn = -turns; turn <= turns; ++turn)
        for (int j = 0; j < last + (curve.getOpen() ? 1 : 0); ++j)
            knots.insert(knots.end(), at(curve.getKnotMultiplicities()[at(j)]),
                         b[j] + turn * (b[last] - b[0]));
    return knots;
}

// The i-th function of order p by de Boor's recursion; its derivative without the factor p - 1.
double basis(std::vector<double> const& t, std::size_t i, std::size_t p, double s, bool derivative)
{
    if (p == 1) return t[i] <= s && s < t[i + 1] ? 1.0 : 0.0;
    double const rise = t[i + p - 1] - t[i], fall = t[i + p] - t[i + 1];
    double const left = rise > 0.0 ? basis(t, i, p - 1, s, false) / rise : 0.0;
    double const right = fall > 0.0 ? basis(t, i + 1, p - 1, s, false) / fall : 0.0;
    return derivative ? left - right : (s - t[i]) * left + (t[i + p] - s) * right;
}

Vector reference(BSpline const& curve, double s, bool derivative)
{
    std::vector<double> const knots = knotsOf(curve);
    std::vector<Vector> const& points = curve.getControlPoints();
    std::size_t const order = at(curve.getOrder());
    Vector sum(2);
    for (std::size_t i = 0; i + order < knots.size(); ++i)
        sum += basis(knots, i, order, s, derivative) * points[i % points.size()];
    return sum;
}

std::vector<Vector> randomPoints(int n)
{
    return RandomData(static_cast<unsigned int>(n)).vectors(n, 2);
}

BSpline makeCurve(int order, Vector const& breakPoints, std::vector<int> const& multiplicities,
                  bool open)
{
    BSpline curve;
    curve.init(order, breakPoints, multiplicities, open);
    curve.setOrChangeControlPoints(randomPoints(curve.getNbBSplines()));
    return curve;
}

BSplineSimple makeSimple(int order, std::vector<Vector> const& points, bool open)
{
    BSplineSimple curve;
    curve.init(order, points, open);
    return curve;
}

// Any order, open or closed, with break points that are no knots, knots up to the order repeated, the
// seam included, and fewer control points than a span takes.
BSpline drawCurve()
{
    RandomData random(*rc::gen::arbitrary<unsigned int>());
    bool const open = *rc::gen::arbitrary<bool>();
    int const order = *rc::gen::inRange(2, 7);
    Vector breakPoints(*rc::gen::inRange(open ? 2 : 3, 8));  // one control point has no direction
    for (int i = 1; i < breakPoints.getSize(); ++i)
        breakPoints[i] = breakPoints[i - 1] + random.uniform(0.4, 2.0);
    std::vector<int> multiplicities(breakPoints.size());
    for (std::size_t i = 1; i + 1 < breakPoints.size(); ++i)
        multiplicities[i] = random.integer(i == 1 ? 1 : 0, order);
    // A closed curve comes back to its begin where the seam is repeated less often than the order.
    multiplicities.front() = random.integer(1, order - 1);
    return makeCurve(order, breakPoints, multiplicities, open);
}

std::string displayed(BSpline const& curve)
{
    std::ostringstream text;
    curve.display(text);
    return text.str();
}

RC_GTEST_PROP(BSpline, AgreesWithTheRecursionOfDeBoorUpToItsEnd, ())
{
    BSpline const curve = drawCurve();
    double const last = curve.getMaxS();
    Vector const end =
        curve.getOpen() ? curve.getControlPoints().back() : curve.computeCurvePoint(0.0);
    RC_ASSERT(isNear(curve.computeCurvePoint(last), end, tolerance));
    for (int i = 0; i < 64; ++i) {
        double const s = last * i / 64.0;
        Vector const t = curve.computeTangentToCurve(s), d = reference(curve, s, true);
        RC_ASSERT(isNear(curve.computeCurvePoint(s), reference(curve, s, false), tolerance));
        RC_ASSERT(isNear(d.length() * t, d, tolerance));
        RC_ASSERT(curve.computeNormalToCurve(s) == Vector::of({-t[1], t[0]}));
    }
}

TEST(BSpline, OfOrderOneIsAStair)
{
    BSpline const stair = makeCurve(1, Vector::of({0, 1, 2, 4}), {}, true);
    for (double const s : {0.0, 0.5, 1.0, 3.9})
        EXPECT_EQ(stair.computeCurvePoint(s), stair.getControlPoints()[at(s < 1   ? 0
                                                                          : s < 2 ? 1
                                                                                  : 2)]);
}

TEST(BSpline, UniformStructureFollowsFromTheControlPoints)
{
    BSplineSimple const open = makeSimple(4, randomPoints(7), true);
    EXPECT_EQ(open.getNbSpans(), 4);
    EXPECT_EQ(open.getNbKnots(), 11);
    EXPECT_EQ(open.getKnotMultiplicities(), (std::vector<int>{4, 1, 1, 1, 4}));
    EXPECT_TRUE(open.getKnots() == Vector::of({0, 0, 0, 0, 1, 2, 3, 4, 4, 4, 4}));
    BSplineSimple const closed = makeSimple(4, randomPoints(7), false);
    EXPECT_EQ(closed.getKnotMultiplicities(), std::vector<int>(8, 1));
    Matrix const sixfold = Matrix::of({{1, 4, 1, 0}, {-3, 0, 3, 0}, {3, -6, 3, 0}, {-1, 3, -3, 1}});
    ASSERT_EQ(closed.getVectorSpanMatrix().size(), 7U);
    for (Matrix const& M : closed.getVectorSpanMatrix()) EXPECT_TRUE(6.0 * M == sixfold);
}

TEST(BSpline, ParametersBeyondTheEnds)
{
    BSplineSimple const curve = makeSimple(4, randomPoints(7), true);
    Vector const end = curve.computeCurvePoint(4.0);
    EXPECT_TRUE(curve.computeCurvePoint(4.0 + 0.9e-5).equals(end, 1e-3));
    EXPECT_MATH_ERROR(curve.computeCurvePoint(4.0 + 1.1e-5), "Bad parameter value");
    EXPECT_MATH_ERROR(curve.computeTangentToCurve(INFINITY), "Bad parameter value");
    EXPECT_TRUE(std::isnan(curve.computeCurvePoint(NAN)[0]));
    BSplineSimple const point = makeSimple(3, std::vector<Vector>(5, Vector::of({1, 2})), true);
    EXPECT_TRUE(std::isnan(point.computeTangentToCurve(1.0)[0])) << "of a zero derivative";
    EXPECT_TRUE(std::isnan(point.computeNormalToCurve(1.0)[1]));
    // The first span goes on below its start: a cubic has no fourth difference.
    auto const p = [&](double s) { return curve.computeCurvePoint(s); };
    EXPECT_TRUE(
        (p(-1.0) - 4.0 * p(-0.6) + 6.0 * p(-0.2) - 4.0 * p(0.2) + p(0.6)).equals(Vector(2), 1e-12));
}

TEST(BSpline, ParamPowersAreTheDerivativesOfEachOther)
{
    Probe probe(makeCurve(5, Vector::of({0, 1}), {}, true));
    Vector P(5), wrong(4), single(1);
    auto const expectPowers = [&](std::initializer_list<double> values) {
        EXPECT_EQ(P, Vector::of(values));
    };
    probe.computeParamPowers(0.5, P), expectPowers({1, 0.5, 0.25, 0.125, 0.0625});
    probe.computeDerivatedParamPowers(0.5, P), expectPowers({0, 1, 1, 0.75, 0.5});
    probe.computeSecondDerivatedParamPowers(0.5, P), expectPowers({0, 0, 2, 3, 3});
    probe.computeThirdDerivatedParamPowers(0.5, P), expectPowers({0, 0, 0, 6, 12});
    // kept: integer powers, here 1, trunc(2.5), trunc(2 · 2.5)
    probe.computeDerivParamPowers(2.5, 2, P), expectPowers({0, 0, 2, 6 * 2, 12 * 5});
    probe.computeDerivParamPowers(0.9, 1, P), expectPowers({0, 1, 0, 0, 0});
    probe.computeDerivParamPowers(3.0, 9, P), expectPowers({0, 0, 0, 0, 0});
    EXPECT_MATH_ERROR(probe.computeParamPowers(0.5, wrong), "Size Error on param powers vector");
    EXPECT_MATH_ERROR(probe.computeDerivParamPowers(0.5, 0, wrong),
                      "Size Error on derivative param powers vector");
    EXPECT_MATH_ERROR(probe.computeDerivParamPowers(0.5, 0, P), "Erroneous param nth");
    probe.setOrder(1);
    EXPECT_MATH_ERROR(probe.computeDerivParamPowers(0.5, 1, single), "Erroneous BSpline order");
}

TEST(BSpline, NeedsInitAndCutsControlPointsOrContinuesThemWithTheOrigin)
{
    BSpline curve;
    EXPECT_EQ(curve.getSmoothParam(), 0);
    curve.setSmoothParam(-2.7);
    EXPECT_EQ(curve.getSmoothParam(), -2) << "its integer part";
    EXPECT_MATH_ERROR(curve.setOrChangeControlPoints({}), "Uninitialized  BSpline , use init()");
    EXPECT_MATH_ERROR(curve.computeCurvePoint(0.0), "Uninitialized  BSpline , use init()");
    curve.init(3, Vector::of({0, 1, 2, 3}), {}, true);
    EXPECT_MATH_ERROR(curve.computeCurvePoint(0.5),
                      "Too few control points, use setOrChangeControlPoints()");
    curve.setOrChangeControlPoints(std::vector<Vector>(3, Vector::of({1, 2})));
    EXPECT_TRUE(curve.getXControlPoints() == Vector::of({1, 1, 1, 0, 0}));
    EXPECT_TRUE(curve.getYControlPoints() == Vector::of({2, 2, 2, 0, 0}));
    curve.setOrChangeControlPoints(std::vector<Vector>(9, Vector::of({3, 4, 5})));
    EXPECT_MATH_ERROR(curve.setOrChangeControlPoints({Vector(1)}), "Invalid control point size");
    EXPECT_TRUE(curve.getXControlPoints() == Vector::of({3, 3, 3, 3, 3}));
}

TEST(BSpline, InitTakesNonsenseAndEvaluationNamesIt)
{
    auto const expectInvalid = [](int order, Vector const& breakPoints, std::vector<int> const& m) {
        for (bool const open : {true, false}) {
            Pix::ListPoint<double> list;
            BSpline curve;
            curve.init(order, breakPoints, m, open);
            EXPECT_MATH_ERROR(curve.computeCurvePoint(0.5), invalidStructure);
            EXPECT_MATH_ERROR(curve.fastSplineToCurve(list, 0.1), invalidStructure);
            EXPECT_MATH_ERROR(displayed(curve), invalidStructure);
        }
    };
    expectInvalid(0, Vector::of({0, 1, 2}), {});
    expectInvalid(-3, Vector::of({0, 1, 2}), {});
    expectInvalid(4, Vector::of({0, 1, 2}), {1, -1, 1});
    for (std::vector<double> const& breakPoints : std::vector<std::vector<double>>{
             {}, {1}, {0, 2, 1}, {0, 1, 1}, {0, NAN, 2}, {0, 1, INFINITY}, {-1e308, 1e308}})
        expectInvalid(4, toVector(breakPoints), {});
    for (int const order : {-400000000, 0, 8})
        EXPECT_MATH_ERROR(makeSimple(order, randomPoints(7), true).computeCurvePoint(0.5),
                          invalidStructure);
}

TEST(BSpline, FailedInitLeavesTheCurveAndSettersDoNotReachBeyondIt)
{
    BSplineSimple simple = makeSimple(4, randomPoints(7), true);
    Probe curve(simple);
    Vector const before = simple.computeCurvePoint(1.3);
    EXPECT_MATH_ERROR(simple.init(3, {Vector(2), Vector(1)}, true), "Invalid control point size");
    for (int const order : {INT_MIN, 2000000000, INT_MAX})
        EXPECT_MATH_ERROR(simple.init(order, {Vector(2)}, true), "Invalid array size");
    EXPECT_MATH_ERROR(curve.init(3, Vector::of({0, 1}), {INT_MAX, 1}, false), "Invalid array size");
    EXPECT_TRUE(simple.computeCurvePoint(1.3) == before);
    EXPECT_TRUE(curve.computeCurvePoint(1.3) == before);

    BSpline closed = makeCurve(4, Vector::of({0, 1, 2}), {}, false);
    closed.setOpen(true);
    EXPECT_MATH_ERROR(closed.computeCurvePoint(0.5), invalidStructure);
    closed.setDiscreteStep(0.2);
    closed.setOpen(false);
    closed.setOrder(5);
    EXPECT_MATH_ERROR(closed.computeTangentToCurve(0.5), invalidStructure);
    closed.setDiscreteStep(0.3);
    EXPECT_EQ(closed.getMetricMatrix().getCol(), 4);  // still those of the structure
}

RC_GTEST_PROP(BSpline, SamplesStartAtZeroAndMeetTheEndOfAnOpenCurveOnly, ())
{
    BSpline const curve = drawCurve();
    for (double const step : {0.013, 0.4}) {
        Pix::ListPoint<double> expected, plain, fast;
        auto const expectPoint = [&](double s) {
            Vector const p = curve.computeCurvePoint(s);
            expected.push_back({p[0], p[1]});
        };
        for (double s = 0.0; s < curve.getMaxS(); s += step) expectPoint(s);
        if (curve.getOpen()) expectPoint(curve.getMaxS());
        plain.push_back({9, 9});
        curve.splineToCurve(plain, step);
        curve.fastSplineToCurve(fast, step);
        RC_ASSERT(plain == expected && fast == expected);
    }
}

TEST(BSpline, FastSamplingAdvancesOneSpanASample)
{
    std::vector<Vector> const zigzag = {Vector::of({0, 0}), Vector::of({1, 1}), Vector::of({2, 0}),
                                        Vector::of({3, 5}), Vector::of({4, 0}), Vector::of({5, 0})};
    Pix::ListPoint<double> list, expected;
    makeSimple(2, zigzag, true).fastSplineToCurve(list, 2.5);
    expected.push_back({0, 0});
    expected.push_back({2.5, -0.5});  // on the second line, as the end is
    expected.push_back({5, -3});
    EXPECT_TRUE(list == expected);
}

TEST(BSpline, DisplayPrintsTheBasisAndItsSum)
{
    Vector const breakPoints = Vector::of({0, 0.1, 0.2});
    EXPECT_EQ(displayed(makeCurve(2, breakPoints, {}, true)),
              "0 1 0 0 1 \n0.05 0.5 0.5 0 1 \n0.1 0 1 0 1 \n0.15 0 0.5 0.5 1 \n0.2 0 0 1 1 \n");
    std::ostringstream fixed;
    fixed << std::fixed << std::setprecision(2);
    makeCurve(2, breakPoints, {}, false).display(fixed);
    EXPECT_EQ(fixed.str().substr(0, 41), "0.00 0.00 1.00 1.00 \n0.05 0.50 0.50 1.00 ");
    // Three functions a span on two control points: the first and the third fall together.
    EXPECT_EQ(displayed(makeCurve(3, Vector::of({0, 1, 2}), {}, false)).substr(0, 13),
              "0 0.5 0.5 1 \n");

    EXPECT_EQ(std::ranges::count(displayed(makeCurve(4, Vector::of({0, 1}), {}, true)), '\n'), 21);
    // No step of 0.05 changes a parameter from here on.
    EXPECT_MATH_ERROR(displayed(makeCurve(2, Vector::of({0, 0x1p49}), {}, true)),
                      "BSpline too long to display");
}

}  // namespace
