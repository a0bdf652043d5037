#include "FuzzInput.h"
#include "math/BSpline.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace {

Vector increasing(FuzzInput& input, int count)
{
    Vector result(count);
    double last = 0.0;
    for (double& value : result) {
        value = last;
        last += (1 + input.integer(0, 15)) / 4.0;
    }
    return result;
}

void initAnyhow(FuzzInput& input, BSpline& curve)
{
    int const order = input.integer(-1, 7);
    int const count = input.integer(0, 8);
    Vector const breakPoints = input.flag() ? input.vector(count) : increasing(input, count);
    std::vector<int> multiplicities;
    for (int n = input.integer(0, 9); n > 0; --n) multiplicities.push_back(input.integer(-1, 8));
    curve.init(order, breakPoints, multiplicities, input.flag());
}

// On its spans a curve is a mean of its control points, with weights that are not negative.
void checkHull(BSpline const& curve, Vector const& p)
{
    constexpr double tolerance = 1e-8;  // of the coordinates
    constexpr double smallest = std::numeric_limits<double>::min();
    for (int k = 0; k < 2; ++k) {
        double low = std::numeric_limits<double>::infinity();
        double high = -low;
        for (Vector const& control : curve.getControlPoints()) {
            low = std::fmin(low, control[k]);
            high = std::fmax(high, control[k]);
        }
        double const slack = tolerance * (std::abs(low) + std::abs(high)) + smallest;
        check(p[k] >= low - slack && p[k] <= high + slack);
    }
}

bool hasModerateControlPoints(BSpline const& curve)
{
    std::vector<Vector> const& points = curve.getControlPoints();
    return std::all_of(points.begin(), points.end(), [](Vector const& p) {
        return std::abs(p[0]) < 1e100 && std::abs(p[1]) < 1e100;
    });
}

// Neither spans of very different lengths, where powers of u lose digits.
bool isRegular(BSpline const& curve)
{
    Vector const& b = curve.getBreakPoints();
    for (int i = 1; i < b.getSize(); ++i)
        if (!(b[i] - b[i - 1] >= 0.25 && b[i] - b[i - 1] <= 4.0)) return false;
    return b[0] >= 0.0 && b[0] < 100.0 && hasModerateControlPoints(curve);
}

void evaluate(FuzzInput& input, BSpline const& curve)
{
    double const s = input.flag() ? input.number() : curve.getMaxS() * input.byte() / 255.0;
    Vector const p = curve.computeCurvePoint(s);
    Vector const tangent = curve.computeTangentToCurve(s);
    Vector const normal = curve.computeNormalToCurve(s);
    if (!isRegular(curve) || !(s >= curve.getBreakPoints()[0])) return;
    checkHull(curve, p);
    if (!std::isfinite(tangent[0])) return;
    check(isNear(tangent.length(), 1.0, 1e-12));
    check(normal[0] == -tangent[1] && normal[1] == tangent[0]);
}

// At most 100 samples, whatever the length.
void sample(FuzzInput& input, BSpline const& curve)
{
    double const length = curve.getMaxS();
    double const step = length > 0.0 ? length / input.integer(1, 100) : 1.0;
    if (!(step > 0.0) || !std::isfinite(length)) return;
    Pix::ListPoint<double> list;
    Pix::ListPoint<double> fast;
    curve.splineToCurve(list, step);
    curve.fastSplineToCurve(fast, step);
    check(fast.size() == list.size());
    if (step > 0.25 || !isRegular(curve)) return;
    for (auto p = list.begin(), q = fast.begin(); p != list.end(); ++p, ++q) {
        double const size = 1.0 + std::abs(p->x) + std::abs(p->y);
        check(isNear(p->x, q->x, 1e-8 * size) && isNear(p->y, q->y, 1e-8 * size));
    }
}

void display(FuzzInput&, BSpline const& curve)
{
    std::ostringstream out;
    if (curve.getMaxS() < 100.0) curve.display(out);
}

void fit(FuzzInput& input, BSpline& curve)
{
    std::vector<Vector> const points = input.vectors(input.integer(0, 16), 2);
    curve.setSmoothParam(input.number());
    auto matched = input.flag() ? curve.initMatchedPoints(points)
                                : curve.initMatchedPointsByChordLength(points);
    if (input.flag() && !matched.empty()) matched.front().weight = input.number();
    int const limit = input.integer(-1, 8);
    double const distance =
        input.flag() ? curve.refinement(matched, limit) : curve.robustRefinement(matched, limit);
    check(distance >= 0.0);
    check(matched.size() == points.size());
}

void use(FuzzInput& input, BSpline& curve)
{
    switch (input.integer(0, 3)) {
        case 0:
            evaluate(input, curve);
            return;
        case 1:
            sample(input, curve);
            return;
        case 2:
            display(input, curve);
            return;
        default:
            fit(input, curve);
            return;
    }
}

}  // namespace

void fuzz(FuzzInput& input)
{
    if (input.flag()) {
        BSplineSimple curve;
        int const order = input.integer(-1, 7);
        curve.init(order, input.vectors(input.integer(0, 10), 2), input.flag());
        use(input, curve);
    } else {
        BSpline curve;
        initAnyhow(input, curve);
        curve.setOrChangeControlPoints(input.vectors(input.integer(0, 16), 2));
        use(input, curve);
    }
}
