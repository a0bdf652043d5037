#include "math/BSpline.h"

#include "support/HeapCounter.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"

#include <gtest/gtest.h>

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

// A curve straight from the definitions, on knots written out over several periods.
class Reference {
public:
    explicit Reference(BSpline const& curve)
        : _order(at(curve.getOrder())),
          _points(curve.getControlPoints())
    {
        Vector const& b = curve.getBreakPoints();
        int const turns = curve.getOpen() ? 0 : 8;
        int const last = curve.getNbSpans();
        for (int turn = -turns; turn <= turns; ++turn)
            for (int j = 0; j < last + (curve.getOpen() ? 1 : 0); ++j)
                _knots.insert(_knots.end(), at(curve.getKnotMultiplicities()[at(j)]),
                              b[j] + turn * (b[last] - b[0]));
    }

    Vector point(double s) const
    {
        return sum([&](std::size_t i) { return basis(i, _order, s); });
    }
    Vector tangent(double s) const
    {
        Vector const v = sum([&](std::size_t i) { return share(i, s) - share(i + 1, s); });
        return v / v.length();
    }

private:
    double basis(std::size_t i, std::size_t p, double s) const
    {
        if (p == 1) return _knots[i] <= s && s < _knots[i + 1] ? 1.0 : 0.0;
        double const rise = _knots[i + p - 1] - _knots[i];
        double const fall = _knots[i + p] - _knots[i + 1];
        return (rise > 0.0 ? (s - _knots[i]) / rise * basis(i, p - 1, s) : 0.0) +
               (fall > 0.0 ? (_knots[i + p] - s) / fall * basis(i + 1, p - 1, s) : 0.0);
    }
    double share(std::size_t i, double s) const
    {
        double const width = _knots[i + _order - 1] - _knots[i];
        return width > 0.0 ? basis(i, _order - 1, s) / width : 0.0;
    }
    template <class Weight>
    Vector sum(Weight weight) const
    {
        Vector total(2);
        for (std::size_t i = 0; i + _order < _knots.size(); ++i)
            total += weight(i) * _points[i % _points.size()];
        return total;
    }

    std::size_t _order;
    std::vector<Vector> _points;
    std::vector<double> _knots;
};

std::vector<Vector> randomPoints(int n)
{
    RandomData random(static_cast<unsigned int>(n));
    std::vector<Vector> points(at(n));
    for (Vector& p : points) p = random.vector(2);
    return points;
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

// Orders 2 to 6, open and closed, uniform, uneven, with knots up to the order repeated, the seam
// included, a break point that is no knot, and fewer control points than a span takes.
std::vector<BSpline> manyCurves()
{
    Vector const uneven = Vector::of({0.0, 0.7, 1.5, 1.9, 3.2, 4.0, 5.5});
    std::vector<BSpline> curves;
    for (int order = 2; order <= 6; ++order) {
        for (bool const open : {true, false}) {
            curves.push_back(Probe(makeSimple(order, randomPoints(9), open)));
            curves.push_back(makeCurve(order, uneven, {}, open));
            curves.push_back(makeCurve(order, uneven, {1, 1, order - 1, 2, order, 1, 1}, open));
        }
        curves.push_back(makeCurve(order, uneven, {order > 2 ? 2 : 1, 1, 0}, false));
        curves.push_back(makeCurve(order, Vector::of({-1.0, 0.5, 1.0, 1.6}), {}, false));
    }
    return curves;
}

std::string nameOf(BSpline const& curve)
{
    std::ostringstream name;
    name << (curve.getOpen() ? "open" : "closed") << ", order " << curve.getOrder() << ", knots "
         << curve.getKnots();
    return name.str();
}

// Every 64th of the curve, from its first break point to just before the last one.
std::vector<double> parametersOf(BSpline const& curve)
{
    double const first = curve.getBreakPoints()[0];
    std::vector<double> parameters;
    for (int i = 0; i < 64; ++i) parameters.push_back(first + (curve.getMaxS() - first) * i / 64.0);
    return parameters;
}

std::string displayed(BSpline const& curve)
{
    std::ostringstream text;
    curve.display(text);
    return text.str();
}

TEST(BSpline, AgreesWithTheRecursionOfDeBoorUpToItsEnd)
{
    for (BSpline const& curve : manyCurves()) {
        SCOPED_TRACE(nameOf(curve));
        Reference const reference(curve);
        for (double const s : parametersOf(curve)) {
            Vector const t = curve.computeTangentToCurve(s);
            EXPECT_TRUE(curve.computeCurvePoint(s).equals(reference.point(s), tolerance)) << s;
            EXPECT_TRUE(t.equals(reference.tangent(s), tolerance)) << s;
            EXPECT_TRUE(curve.computeNormalToCurve(s) == Vector::of({-t[1], t[0]})) << s;
        }
        Vector const start = curve.computeCurvePoint(curve.getBreakPoints()[0]);
        Vector const end = curve.getOpen() ? curve.getControlPoints().back() : start;
        EXPECT_TRUE(curve.computeCurvePoint(curve.getMaxS()).equals(end, tolerance));
    }
}

TEST(BSpline, AgreesWithSciPy)
{
    // s, C(s), C'(s) by SciPy 1.10.1: support/spline_values.py
    Vector const open = Vector::of(
        {2.75, 3.2487912678348674, -0.4602482972771289, 14.861590532703946, 8.794951562306046});
    Vector const closed = Vector::of(
        {3.9, 0.7695964202003572, -0.26404562170698753, -1.391375789255432, -2.9774534371321972});
    std::vector<Vector> points(7);
    for (int i = 0; i < 7; ++i)
        points[at(i)] = Vector::of({3.0 * std::cos(0.9 * i) + i, 2.0 * std::sin(1.3 * i)});
    auto const expectRow = [&](BSpline curve, Vector const& row) {
        curve.setOrChangeControlPoints(points);
        Vector const tangent = row(3, 2) / row(3, 2).length();
        EXPECT_TRUE(curve.computeCurvePoint(row[0]).equals(row(1, 2), tolerance));
        EXPECT_TRUE(curve.computeTangentToCurve(row[0]).equals(tangent, tolerance));
    };
    expectRow(makeCurve(4, Vector::of({0, 1, 2.5, 3}), {1, 1, 2, 1}, true), open);
    expectRow(makeCurve(3, Vector::of({0, 0.5, 2, 3, 4}), {1, 1, 1, 1, 1}, false), closed);
}

TEST(BSpline, UniformStructureFollowsFromTheControlPoints)
{
    BSplineSimple const open = makeSimple(4, randomPoints(7), true);
    EXPECT_EQ(open.getNbSpans(), 4);
    EXPECT_EQ(open.getNbKnots(), 11);
    EXPECT_EQ(open.getKnotMultiplicities(), (std::vector<int>{4, 1, 1, 1, 4}));
    EXPECT_TRUE(open.getKnots() == Vector::of({0, 0, 0, 0, 1, 2, 3, 4, 4, 4, 4}));
    EXPECT_EQ(open.getMaxS(), 4.0);
    BSplineSimple const closed = makeSimple(4, randomPoints(7), false);
    EXPECT_EQ(closed.getNbSpans(), 7);
    EXPECT_EQ(closed.getNbKnots(), 8);
    EXPECT_EQ(closed.getKnotMultiplicities(), std::vector<int>(8, 1));
    Matrix const sixfold = Matrix::of({{1, 4, 1, 0}, {-3, 0, 3, 0}, {3, -6, 3, 0}, {-1, 3, -3, 1}});
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
    std::vector<Vector> const three(3, Vector::of({1, 2}));
    curve.init(3, Vector::of({0, 1, 2, 3}), {}, true);
    curve.setOrChangeControlPoints(three);
    EXPECT_TRUE(curve.getXControlPoints() == Vector::of({1, 1, 1, 0, 0}));
    EXPECT_TRUE(curve.getYControlPoints() == Vector::of({2, 2, 2, 0, 0}));
    curve.setOrChangeControlPoints(std::vector<Vector>(9, Vector::of({3, 4, 5})));
    EXPECT_MATH_ERROR(curve.setOrChangeControlPoints({Vector(1)}), "Invalid control point size");
    EXPECT_TRUE(curve.getXControlPoints() == Vector::of({3, 3, 3, 3, 3}));
}

TEST(BSpline, InitTakesNonsenseAndEvaluationNamesIt)
{
    struct Nonsense {
        int order;
        std::vector<double> breakPoints;
        std::vector<int> multiplicities;
    };
    Nonsense const table[] = {{0, {0, 1, 2}, {}},
                              {-3, {0, 1, 2}, {}},
                              {4, {}, {}},
                              {4, {1}, {}},
                              {4, {0, 2, 1}, {}},
                              {4, {0, 1, 1}, {}},
                              {4, {0, NAN, 2}, {}},
                              {4, {0, 1, INFINITY}, {}},
                              {4, {0, 1, 2}, {1, -1, 1}},
                              {4, {-1e308, 1e308}, {}}};
    Pix::ListPoint<double> list;
    for (Nonsense const& n : table) {
        for (bool const open : {true, false}) {
            BSpline curve;
            curve.init(n.order, toVector(n.breakPoints), n.multiplicities, open);
            EXPECT_MATH_ERROR(curve.computeCurvePoint(0.5), invalidStructure);
            EXPECT_MATH_ERROR(curve.fastSplineToCurve(list, 0.1), invalidStructure);
            EXPECT_MATH_ERROR(displayed(curve), invalidStructure);
        }
    }
    for (int const order : {-400000000, 0, 8})
        EXPECT_MATH_ERROR(makeSimple(order, randomPoints(7), true).computeCurvePoint(0.5),
                          invalidStructure);
}

TEST(BSpline, FailedInitLeavesTheCurve)
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
}

TEST(BSpline, SettersAloneDoNotReachBeyondTheStructure)
{
    BSpline curve;
    curve.init(4, Vector::of({0, 1, 2}), {}, true);
    EXPECT_MATH_ERROR(curve.computeCurvePoint(0.5),
                      "Too few control points, use setOrChangeControlPoints()");
    curve = makeCurve(4, Vector::of({0, 1, 2}), {}, false);
    curve.setOpen(true);
    EXPECT_MATH_ERROR(curve.computeCurvePoint(0.5), invalidStructure);
    curve.setDiscreteStep(0.2);
    curve.setOpen(false);
    curve.setOrder(5);
    EXPECT_MATH_ERROR(curve.computeTangentToCurve(0.5), invalidStructure);
    curve.setDiscreteStep(0.3);
    EXPECT_EQ(curve.getMetricMatrix().getCol(), 4);  // still those of the structure
}

TEST(BSpline, EvaluationAllocatesNoMoreThanItsResult)
{
    BSplineSimple const curve = makeSimple(6, randomPoints(40), false);
    HeapCounter const heap;
    for (int i = 0; i < 400; ++i) curve.computeNormalToCurve(0.1 * i);
    EXPECT_LE(heap.blocks(), 400u);
}

TEST(BSpline, SamplingMeetsTheEndOfAnOpenCurveOnly)
{
    Pix::ListPoint<double> list;
    list.push_back({9, 9});
    BSplineSimple const open = makeSimple(4, randomPoints(7), true);
    open.splineToCurve(list, 1.0);
    ASSERT_EQ(list.size(), 5u);
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(open.computeCurvePoint(i) == Vector::of({list[at(i)].x, list[at(i)].y}));
    makeSimple(4, randomPoints(7), false).splineToCurve(list, 1.0);
    EXPECT_EQ(list.size(), 7u);
}

TEST(BSpline, FastSamplingGivesTheSamePoints)
{
    for (BSpline const& curve : manyCurves()) {
        if (curve.getBreakPoints()[0] < 0.0) continue;  // the first sample is at 0
        for (double const step : {0.013, 0.4}) {
            Pix::ListPoint<double> plain, fast;
            curve.splineToCurve(plain, step);
            curve.fastSplineToCurve(fast, step);
            EXPECT_TRUE(plain == fast) << nameOf(curve) << ", step " << step;
        }
    }
}

TEST(BSpline, FastSamplingAdvancesOneSpanASample)
{
    std::vector<Vector> const zigzag = {Vector::of({0, 0}), Vector::of({1, 1}), Vector::of({2, 0}),
                                        Vector::of({3, 5}), Vector::of({4, 0}), Vector::of({5, 0})};
    Pix::ListPoint<double> list;
    makeSimple(2, zigzag, true).fastSplineToCurve(list, 2.5);
    ASSERT_EQ(list.size(), 3u);  // s = 0 on the first line, 2.5 and the end on the second
    EXPECT_EQ(list[0], (Pix::Point<double>(0, 0)));
    EXPECT_EQ(list[1], (Pix::Point<double>(2.5, -0.5)));
    EXPECT_EQ(list[2], (Pix::Point<double>(5, -3)));
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
