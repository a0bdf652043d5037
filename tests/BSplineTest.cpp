#include "math/BSpline.h"

#include "support/HeapCounter.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <iomanip>
#include <limits>
#include <sstream>

namespace {

// A dozen roundings of values of magnitude 1 to 10, through differences of knots down to 0.4.
constexpr double tolerance = 1e-13;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr char const* invalidStructure =
    "Invalid BSpline, check order, break points and multiplicities";

struct Probe : BSpline {
    using BSpline::computeDerivatedParamPowers;
    using BSpline::computeDerivParamPowers;
    using BSpline::computeParamPowers;
    using BSpline::computeSecondDerivatedParamPowers;
    using BSpline::computeThirdDerivatedParamPowers;
    using BSpline::firstSplineIndex;
    using BSpline::spanNumber;
};

int modulo(int i, int n)
{
    return (i % n + n) % n;
}

// A curve straight from the definitions, on knots written out over several periods.
class Reference {
public:
    Reference(BSpline const& curve) : _order(curve.getOrder()), _points(curve.getControlPoints())
    {
        Vector const& b = curve.getBreakPoints();
        int const nbSpans = b.getSize() - 1;
        int const turns = curve.getOpen() ? 0 : 8;
        for (int turn = -turns; turn <= turns; ++turn)
            for (int j = 0; j < nbSpans + (curve.getOpen() ? 1 : 0); ++j)
                for (int m = 0; m < curve.getKnotMultiplicities()[static_cast<std::size_t>(j)]; ++m)
                    _knots.push_back(b[j] + turn * (b[nbSpans] - b[0]));
    }

    Vector point(double s) const
    {
        return sum([&](std::size_t i) { return basis(i, _order, s); });
    }

    Vector derivative(double s) const
    {
        return sum([&](std::size_t i) { return (_order - 1) * (share(i, s) - share(i + 1, s)); });
    }

private:
    double basis(std::size_t i, int p, double s) const
    {
        if (p == 1) return _knots[i] <= s && s < _knots[i + 1] ? 1.0 : 0.0;
        std::size_t const q = i + static_cast<std::size_t>(p);
        double const rise = _knots[q - 1] - _knots[i];
        double const fall = _knots[q] - _knots[i + 1];
        return (rise > 0.0 ? (s - _knots[i]) / rise * basis(i, p - 1, s) : 0.0) +
               (fall > 0.0 ? (_knots[q] - s) / fall * basis(i + 1, p - 1, s) : 0.0);
    }

    double share(std::size_t i, double s) const
    {
        double const width = _knots[i + static_cast<std::size_t>(_order) - 1] - _knots[i];
        return width > 0.0 ? basis(i, _order - 1, s) / width : 0.0;
    }

    template <class Weight>
    Vector sum(Weight weight) const
    {
        Vector total(2);
        for (std::size_t i = 0; i + static_cast<std::size_t>(_order) < _knots.size(); ++i)
            total += weight(i) * _points[i % _points.size()];
        return total;
    }

    int _order;
    std::vector<Vector> _points;
    std::vector<double> _knots;
};

std::vector<Vector> randomPoints(RandomData& random, int n)
{
    std::vector<Vector> points;
    for (int i = 0; i < n; ++i) points.push_back(random.vector(2));
    return points;
}

BSpline makeCurve(int order, std::vector<double> const& breakPoints,
                  std::vector<int> const& multiplicities, bool open)
{
    BSpline curve;
    curve.init(order, toVector(breakPoints), multiplicities, open);
    RandomData random(static_cast<unsigned int>(order));
    curve.setOrChangeControlPoints(randomPoints(random, curve.getNbBSplines()));
    return curve;
}

BSplineSimple makeSimple(int order, int n, bool open)
{
    RandomData random(static_cast<unsigned int>(n));
    BSplineSimple curve;
    curve.init(order, randomPoints(random, n), open);
    return curve;
}

// Orders 2 to 6, open and closed, uniform, uneven, with knots up to the order repeated, the seam
// included, and with fewer control points than a span takes.
std::vector<BSpline> manyCurves()
{
    std::vector<double> const uneven = {0.0, 0.7, 1.5, 1.9, 3.2, 4.0, 5.5};
    std::vector<BSpline> curves;
    for (int order = 2; order <= 6; ++order) {
        for (bool const open : {true, false}) {
            curves.push_back(makeSimple(order, 9, open));
            curves.push_back(makeCurve(order, uneven, {}, open));
            curves.push_back(makeCurve(order, uneven, {1, 1, order - 1, 2, order, 1, 1}, open));
        }
        curves.push_back(makeCurve(order, uneven, {order > 2 ? 2 : 1, 1, 0, 1, 1, 1}, false));
        curves.push_back(makeCurve(order, {-1.0, 0.5, 1.0, 1.6}, {}, false));
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

// Value on span j of N_i's derivative, from the span matrix.
double basisDerivative(BSpline const& curve, int j, int i, int derivative, double u)
{
    Probe probe;
    static_cast<BSpline&>(probe) = curve;
    Matrix const& M = curve.getVectorSpanMatrix()[static_cast<std::size_t>(j)];
    double sum = 0.0;
    for (int c = 0; c < M.getCol(); ++c) {
        if (modulo(probe.firstSplineIndex(j) + c, curve.getNbBSplines()) != i) continue;
        for (int r = derivative; r < M.getRow(); ++r)
            sum += std::tgamma(r + 1.0) / std::tgamma(r - derivative + 1.0) *
                   std::pow(u, r - derivative) * M[r][c];
    }
    return sum;
}

double jump(BSpline const& curve, int left, int right, int derivative)
{
    Vector const& b = curve.getBreakPoints();
    double largest = 0.0;
    for (int i = 0; i < curve.getNbBSplines(); ++i)
        largest = std::max(
            largest, std::abs(basisDerivative(curve, left, i, derivative, b[left + 1] - b[left]) -
                              basisDerivative(curve, right, i, derivative, 0.0)));
    return largest;
}

std::string displayed(BSpline const& curve)
{
    std::ostringstream text;
    curve.display(text);
    return text.str();
}

TEST(BSpline, AgreesWithTheRecursionOfDeBoor)
{
    for (BSpline const& curve : manyCurves()) {
        SCOPED_TRACE(nameOf(curve));
        Reference const reference(curve);
        double const first = curve.getBreakPoints()[0];
        double const length = curve.getMaxS() - first;
        for (double s = first; s < curve.getMaxS() - BSpline::eps; s += length / 64.0) {
            Vector const derivative = reference.derivative(s);
            EXPECT_TRUE(curve.computeCurvePoint(s).equals(reference.point(s), tolerance)) << s;
            Vector const tangent = curve.computeTangentToCurve(s);
            EXPECT_TRUE(tangent.equals(derivative / derivative.length(), tolerance)) << s;
            EXPECT_TRUE(curve.computeNormalToCurve(s) == Vector::of({-tangent[1], tangent[0]}));
        }
    }
}

TEST(BSpline, AgreesWithSciPy)
{
    // s, C(s), C'(s) by SciPy 1.10.1: support/spline_values.py
    double const open[][5] = {
        {0.4, 2.6419817222615523, 1.3462792116769495, -1.2940312554681261, 1.277070048623966},
        {1.0, 1.710213121206083, 0.9685580395101131, -1.6081269241482261, -1.8003386413430706},
        {2.4, 0.9190572769091905, -1.5955219710560549, 1.1742847927018911, -0.8787766786141412},
        {2.75, 3.2487912678348674, -0.4602482972771289, 14.861590532703946, 8.794951562306046},
    };
    double const closed[][5] = {
        {0.2, 0.5199454480274945, -1.031726818191925, 0.2603984568429357, -1.3750151222615217},
        {1.3, 2.5339356208328865, 0.1042242486223037, 1.2080284248770026, 1.4641514001277138},
        {2.0, 2.918897942887196, 1.1562698225006318, -0.10813607615040546, 1.5416930966675089},
        {3.9, 0.7695964202003572, -0.26404562170698753, -1.391375789255432, -2.9774534371321972},
    };
    std::vector<Vector> points;
    for (int i = 0; i < 7; ++i)
        points.push_back(Vector::of({3.0 * std::cos(0.9 * i) + i, 2.0 * std::sin(1.3 * i)}));

    BSpline curve;
    auto const expectRow = [&](double const(&row)[5]) {
        Vector const derivative(row + 3, 2);
        EXPECT_TRUE(curve.computeCurvePoint(row[0]).equals(Vector(row + 1, 2), tolerance));
        EXPECT_TRUE(curve.computeTangentToCurve(row[0]).equals(derivative / derivative.length(),
                                                               tolerance));
    };
    curve.init(4, Vector::of({0, 1, 2.5, 3}), {1, 1, 2, 1}, true);
    curve.setOrChangeControlPoints(points);
    for (auto const& row : open) expectRow(row);
    curve.init(3, Vector::of({0, 0.5, 2, 3, 4}), {1, 1, 1, 1, 1}, false);
    curve.setOrChangeControlPoints(points);
    for (auto const& row : closed) expectRow(row);
}

TEST(BSpline, UniformStructureFollowsFromTheControlPoints)
{
    BSplineSimple const open = makeSimple(4, 7, true);
    EXPECT_EQ(open.getNbSpans(), 4);
    EXPECT_EQ(open.getNbKnots(), 11);
    EXPECT_EQ(open.getKnotMultiplicities(), (std::vector<int>{4, 1, 1, 1, 4}));
    EXPECT_TRUE(open.getKnots() == Vector::of({0, 0, 0, 0, 1, 2, 3, 4, 4, 4, 4}));
    EXPECT_EQ(open.getMaxS(), 4.0);
    BSplineSimple const closed = makeSimple(4, 7, false);
    EXPECT_EQ(closed.getNbSpans(), 7);
    EXPECT_EQ(closed.getNbKnots(), 8);
    EXPECT_EQ(closed.getKnotMultiplicities(), std::vector<int>(8, 1));
    EXPECT_EQ(closed.getNbBSplines(), 7);
    for (Matrix const& M : closed.getVectorSpanMatrix())
        EXPECT_TRUE(6.0 * M ==
                    Matrix::of({{1, 4, 1, 0}, {-3, 0, 3, 0}, {3, -6, 3, 0}, {-1, 3, -3, 1}}));
}

TEST(BSpline, IsAsSmoothAsTheMultiplicitiesSay)
{
    for (BSpline const& curve : manyCurves()) {
        SCOPED_TRACE(nameOf(curve));
        int const nbSpans = curve.getNbSpans();
        for (int j = curve.getOpen() ? 1 : 0; j < nbSpans; ++j) {
            int const multiplicity = curve.getKnotMultiplicities()[static_cast<std::size_t>(j)];
            int const smooth = curve.getOrder() - 1 - multiplicity;
            int const left = j == 0 ? nbSpans - 1 : j - 1;
            double const scale = std::pow(10.0, curve.getOrder());  // derivatives over short spans
            for (int d = 0; d <= smooth; ++d) EXPECT_LT(jump(curve, left, j, d), tolerance * scale);
            EXPECT_GE(jump(curve, left, j, smooth + 1), multiplicity == 0 ? 0.0 : 0.01);
        }
    }
}

TEST(BSpline, OpenCurveRunsFromTheFirstControlPointToTheLast)
{
    for (BSpline const& curve : manyCurves()) {
        Vector const end = curve.computeCurvePoint(curve.getMaxS());
        Vector const start = curve.computeCurvePoint(curve.getBreakPoints()[0]);
        if (!curve.getOpen()) {
            EXPECT_TRUE(end.equals(start, tolerance)) << nameOf(curve);
            continue;
        }
        EXPECT_TRUE(start.equals(curve.getControlPoints().front(), tolerance)) << nameOf(curve);
        EXPECT_TRUE(end.equals(curve.getControlPoints().back(), tolerance)) << nameOf(curve);
    }
}

TEST(BSpline, MapsWithItsControlPoints)
{
    Matrix const A = Matrix::of({{0.8, -2.0}, {1.5, 0.3}});
    Vector const t = Vector::of({5.0, -7.0});
    for (BSpline const& curve : manyCurves()) {
        BSpline mapped = curve;
        std::vector<Vector> points = curve.getControlPoints();
        for (Vector& p : points) p = A * p + t;
        mapped.setOrChangeControlPoints(points);
        for (double s = 0.0; s < curve.getMaxS(); s += 0.3)
            EXPECT_TRUE(mapped.computeCurvePoint(s).equals(A * curve.computeCurvePoint(s) + t,
                                                           10.0 * tolerance));
    }
}

TEST(BSpline, ParametersBeyondTheEnds)
{
    BSplineSimple const curve = makeSimple(4, 7, true);
    Vector const end = curve.computeCurvePoint(4.0);
    EXPECT_TRUE(curve.computeCurvePoint(4.0 + 0.9e-5).equals(end, 1e-3));
    EXPECT_MATH_ERROR(curve.computeCurvePoint(4.0 + 1.1e-5), "Bad parameter value");
    EXPECT_MATH_ERROR(curve.computeTangentToCurve(INFINITY), "Bad parameter value");
    EXPECT_TRUE(std::isnan(curve.computeCurvePoint(nan)[0]));
    // The first span goes on: four points of a cubic have no fourth difference.
    Vector const p[] = {curve.computeCurvePoint(-1.0), curve.computeCurvePoint(-0.5),
                        curve.computeCurvePoint(0.0), curve.computeCurvePoint(0.5),
                        curve.computeCurvePoint(0.99999)};
    EXPECT_TRUE((p[0] - 4.0 * p[1] + 6.0 * p[2] - 4.0 * p[3] + p[4]).equals(Vector(2), 1e-3));
}

TEST(BSpline, TangentOfZeroDerivativeIsNaN)
{
    BSplineSimple curve;
    curve.init(3, std::vector<Vector>(5, Vector::of({1, 2})), true);
    EXPECT_TRUE(std::isnan(curve.computeTangentToCurve(1.0)[0]));
    EXPECT_TRUE(std::isnan(curve.computeNormalToCurve(1.0)[1]));
}

TEST(BSpline, SmoothParamReadsAsItsIntegerPart)
{
    BSpline curve;
    EXPECT_EQ(curve.getSmoothParam(), 0);
    curve.setSmoothParam(-2.7);
    EXPECT_EQ(curve.getSmoothParam(), -2);
}

TEST(BSpline, DerivParamPowersKeepAnIntegerPower)
{
    Probe probe;
    probe.init(5, Vector::of({0, 1}), {}, true);
    Vector P(5);
    probe.computeDerivParamPowers(2.5, 2, P);  // 1, trunc(2.5), trunc(2 · 2.5)
    EXPECT_TRUE(P == Vector::of({0, 0, 2, 6 * 2, 12 * 5}));
    probe.computeDerivParamPowers(0.9, 1, P);
    EXPECT_TRUE(P == Vector::of({0, 1, 0, 0, 0}));
    probe.computeDerivParamPowers(3.0, 9, P);
    EXPECT_TRUE(P == Vector(5));
    Vector wrong(4);
    EXPECT_MATH_ERROR(probe.computeDerivParamPowers(0.5, 0, wrong),
                      "Size Error on derivative param powers vector");
    EXPECT_MATH_ERROR(probe.computeDerivParamPowers(0.5, 0, P), "Erroneous param nth");
    EXPECT_MATH_ERROR(probe.computeParamPowers(0.5, wrong), "Size Error on param powers vector");
    Vector single(1);
    probe.setOrder(1);
    EXPECT_MATH_ERROR(probe.computeDerivParamPowers(0.5, 1, single), "Erroneous BSpline order");
}

TEST(BSpline, ParamPowersAreTheDerivativesOfEachOther)
{
    Probe probe;
    probe.init(5, Vector::of({0, 1}), {}, true);
    Vector P[4] = {Vector(5), Vector(5), Vector(5), Vector(5)};
    probe.computeParamPowers(0.5, P[0]);
    probe.computeDerivatedParamPowers(0.5, P[1]);
    probe.computeSecondDerivatedParamPowers(0.5, P[2]);
    probe.computeThirdDerivatedParamPowers(0.5, P[3]);
    EXPECT_TRUE(P[0] == Vector::of({1, 0.5, 0.25, 0.125, 0.0625}));
    EXPECT_TRUE(P[1] == Vector::of({0, 1, 1, 0.75, 0.5}));
    EXPECT_TRUE(P[2] == Vector::of({0, 0, 2, 3, 3}));
    EXPECT_TRUE(P[3] == Vector::of({0, 0, 0, 6, 12}));
}

TEST(BSpline, ControlPointsAreCutOrContinuedWithTheOrigin)
{
    BSpline curve;
    std::vector<Vector> const three(3, Vector::of({1, 2}));
    EXPECT_MATH_ERROR(curve.setOrChangeControlPoints(three), "Uninitialized  BSpline , use init()");
    curve.init(3, Vector::of({0, 1, 2, 3}), {}, true);
    ASSERT_EQ(curve.getNbBSplines(), 5);
    curve.setOrChangeControlPoints(three);
    EXPECT_TRUE(curve.getXControlPoints() == Vector::of({1, 1, 1, 0, 0}));
    EXPECT_TRUE(curve.getYControlPoints() == Vector::of({2, 2, 2, 0, 0}));
    curve.setOrChangeControlPoints(std::vector<Vector>(9, Vector::of({3, 4, 5})));
    EXPECT_EQ(curve.getControlPoints().size(), 5u);
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
    Nonsense const table[] = {
        {0, {0, 1, 2}, {1, 1, 1}},
        {-3, {0, 1, 2}, {1, 1, 1}},
        {4, {}, {}},
        {4, {1}, {1}},
        {4, {0, 2, 1}, {1, 1, 1}},
        {4, {0, 1, 1}, {1, 1, 1}},
        {4, {0, nan, 2}, {1, 1, 1}},
        {4, {0, 1, INFINITY}, {1, 1, 1}},
        {4, {0, 1, 2}, {1, -1, 1}},
        {4, {-1e308, 1e308}, {}},
    };
    for (Nonsense const& n : table) {
        for (bool const open : {true, false}) {
            BSpline curve;
            curve.init(n.order, toVector(n.breakPoints), n.multiplicities, open);
            curve.setOrChangeControlPoints(std::vector<Vector>(9, Vector(2)));
            Pix::ListPoint<double> list;
            EXPECT_MATH_ERROR(curve.computeCurvePoint(0.5), invalidStructure);
            EXPECT_MATH_ERROR(curve.fastSplineToCurve(list, 0.1), invalidStructure);
            EXPECT_MATH_ERROR(displayed(curve), invalidStructure);
        }
    }
    for (int const order : {-400000000, 0, 8}) {
        BSplineSimple simple;
        simple.init(order, std::vector<Vector>(7, Vector(2)), true);
        EXPECT_MATH_ERROR(simple.computeCurvePoint(0.5), invalidStructure);
    }
}

TEST(BSpline, FailedInitLeavesTheCurve)
{
    BSplineSimple simple = makeSimple(4, 7, true);
    BSpline curve = simple;
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
    EXPECT_MATH_ERROR(curve.computeCurvePoint(0.0), "Uninitialized  BSpline , use init()");
    EXPECT_MATH_ERROR(displayed(curve), "Uninitialized  BSpline , use init()");
    curve.init(4, Vector::of({0, 1, 2}), {}, true);
    EXPECT_MATH_ERROR(curve.computeCurvePoint(0.5),
                      "Too few control points, use setOrChangeControlPoints()");
    curve = makeSimple(4, 9, false);
    curve.setOpen(true);
    EXPECT_MATH_ERROR(curve.computeCurvePoint(0.5), invalidStructure);
    curve.setOpen(false);
    curve.setOrder(5);
    EXPECT_MATH_ERROR(curve.computeTangentToCurve(0.5), invalidStructure);
}

TEST(BSpline, EvaluationAllocatesNoMoreThanItsResult)
{
    BSplineSimple const curve = makeSimple(6, 40, false);
    Vector point = curve.computeCurvePoint(0.0);
    HeapCounter const heap;
    for (double s = 0.0; s < 40.0; s += 0.1) point = curve.computeNormalToCurve(s);
    EXPECT_LE(heap.blocks(), 400u);
}

TEST(BSpline, SamplingMeetsTheEndOfAnOpenCurveOnly)
{
    Pix::ListPoint<double> list;
    list.push_back({9, 9});
    BSplineSimple const open = makeSimple(4, 7, true);
    open.splineToCurve(list, 1.0);
    ASSERT_EQ(list.size(), 5u);
    for (int i = 0; i < 5; ++i) {
        Pix::Point<double> const p = list[static_cast<std::size_t>(i)];
        EXPECT_TRUE(open.computeCurvePoint(i) == Vector::of({p.x, p.y}));
    }
    makeSimple(4, 7, false).splineToCurve(list, 1.0);
    EXPECT_EQ(list.size(), 7u);
}

TEST(BSpline, FastSamplingGivesTheSamePoints)
{
    for (BSpline const& curve : manyCurves()) {
        if (curve.getBreakPoints()[0] < 0.0) continue;  // the first sample is at 0
        for (double const step : {0.013, 0.1, 0.4}) {
            Pix::ListPoint<double> plain, fast;
            curve.splineToCurve(plain, step);
            curve.fastSplineToCurve(fast, step);
            EXPECT_TRUE(plain == fast) << nameOf(curve) << ", step " << step;
        }
    }
}

TEST(BSpline, FastSamplingAdvancesOneSpanASample)
{
    BSplineSimple const curve = makeSimple(4, 12, true);
    Pix::ListPoint<double> plain, fast;
    curve.splineToCurve(plain, 2.5);
    curve.fastSplineToCurve(fast, 2.5);
    ASSERT_EQ(fast.size(), 5u);  // s = 0, 2.5, 5, 7.5 on spans 0, 1, 2, 3, and the end on span 3
    EXPECT_EQ(fast[0], plain[0]);
    Probe probe;
    static_cast<BSpline&>(probe) = curve;
    for (int i = 1; i < 5; ++i) {
        int const span = std::min(i, 3);
        double const u = (i < 4 ? 2.5 * i : 9.0) - span;
        Vector powers(4);
        probe.computeParamPowers(u, powers);
        Matrix const M = curve.getVectorSpanMatrix()[static_cast<std::size_t>(span)];
        Vector const w = M.transpose() * powers;
        double const x = w.dot(curve.getXControlPoints()(span, 4));
        EXPECT_NEAR(fast[static_cast<std::size_t>(i)].x, x, 1e-10 * std::abs(x)) << i;
        EXPECT_NE(fast[static_cast<std::size_t>(i)].x, plain[static_cast<std::size_t>(i)].x);
    }
}

TEST(BSpline, DisplayPrintsTheBasisAndItsSum)
{
    BSpline line;  // two spans of order 2: hat functions
    line.init(2, Vector::of({0, 0.1, 0.2}), {}, true);
    EXPECT_EQ(displayed(line),
              "0 1 0 0 1 \n"
              "0.05 0.5 0.5 0 1 \n"
              "0.1 0 1 0 1 \n"
              "0.15 0 0.5 0.5 1 \n"
              "0.2 0 0 1 1 \n");
    line.init(2, Vector::of({0, 0.1, 0.2}), {}, false);
    std::ostringstream fixed;
    fixed << std::fixed << std::setprecision(2);
    line.display(fixed);
    EXPECT_EQ(fixed.str().substr(0, 41), "0.00 0.00 1.00 1.00 \n0.05 0.50 0.50 1.00 ");
    BSpline few;  // three functions a span on two control points: the first and third fall together
    few.init(3, Vector::of({0, 1, 2}), {}, false);
    EXPECT_EQ(displayed(few).substr(0, 13), "0 0.5 0.5 1 \n");

    std::istringstream lines(displayed(makeCurve(4, {0, 1}, {}, true)));
    int nbLines = 0;
    for (std::string text; std::getline(lines, text); ++nbLines) {
        std::istringstream row(text);
        double s = 0.0, sum = 0.0, value = 0.0;
        for (row >> s; row >> value;) sum += value;
        EXPECT_NEAR(s, 0.05 * nbLines, 1e-6);
        EXPECT_NEAR(sum, 2.0, 1e-5);  // the values and their sum, of six digits each
    }
    EXPECT_EQ(nbLines, 21);
}

TEST(BSpline, CopiesAreIndependent)
{
    BSplineSimple curve = makeSimple(4, 7, true);
    BSplineSimple const copy = curve;
    Vector const before = copy.computeCurvePoint(1.5);
    curve.setOrChangeControlPoints({Vector::of({100, 100})});
    curve.init(3, curve.getControlPoints(), false);
    EXPECT_TRUE(copy.computeCurvePoint(1.5) == before);
}

}  // namespace
