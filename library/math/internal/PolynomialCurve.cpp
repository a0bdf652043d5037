#include "math/internal/PolynomialCurve.h"

#include "math/internal/Constants.h"

#include <algorithm>
#include <cmath>

namespace measuremath {

namespace {

double dot(PlanePoint a, PlanePoint b)
{
    return a.x * b.x + a.y * b.y;
}

PlanePoint difference(PlanePoint a, PlanePoint b)
{
    return {a.x - b.x, a.y - b.y};
}

}  // namespace

PolynomialCurve::PolynomialCurve(std::vector<SplineSpan> const& spans, bool open, double const* x,
                                 double const* y)
    : _spans(spans),
      _order(spans.front().order),
      _open(open)
{
    _coefficients.reserve(_spans.size() * index(_order));
    for (SplineSpan const& span : _spans)
        for (int r = 0; r < _order; ++r) _coefficients.push_back(span.coefficient(_order, x, y, r));
}

CurvePlace PolynomialCurve::placeOf(double s) const
{
    auto const found = std::partition_point(_spans.begin(), _spans.end() - 1,
                                            [s](SplineSpan const& span) { return span.end <= s; });
    int const j = static_cast<int>(found - _spans.begin());
    return {j, std::clamp(s - found->start, 0.0, length(j))};
}

double PolynomialCurve::parameterOf(CurvePlace place) const
{
    if (place.u < length(place.span)) return span(place.span).start + place.u;
    bool const isSeam = !_open && place.span + 1 == nbSpans();
    return isSeam ? _spans.front().start : span(place.span).end;
}

double PolynomialCurve::squaredDistance(PlanePoint p, CurvePlace place) const
{
    PlanePoint const r = difference(at<0>(place), p);
    return dot(r, r);
}

// Newton's step in u towards the nearest point, and the decrease of the squared distance that it
// promises.
struct PolynomialCurve::Approach {
    double squared;
    double step;
    double gain;
};

PolynomialCurve::Approach PolynomialCurve::approach(PlanePoint p, CurvePlace place) const
{
    PlanePoint const r = difference(at<0>(place), p);
    PlanePoint const first = at<1>(place);
    double const slope = dot(r, first);
    double const speed = dot(first, first);
    double bend = speed + dot(r, at<2>(place));
    if (!(bend > 0.0)) bend = speed;  // beyond the centre of curvature: Gauss-Newton goes downhill
    if (!(bend > 0.0)) return {dot(r, r), 0.0, 0.0};
    return {dot(r, r), -slope / bend, slope * slope / bend};
}

// From the end of a span that the step leads out of to the neighbour's.
bool PolynomialCurve::crossBreakPoint(CurvePlace& place, double step) const
{
    bool const isForward = step > 0.0;
    if (place.u != (isForward ? length(place.span) : 0.0)) return false;
    int const next = place.span + (isForward ? 1 : -1);
    if (_open && (next < 0 || next >= nbSpans())) return false;
    place.span = (next + nbSpans()) % nbSpans();
    place.u = isForward ? 0.0 : length(place.span);
    return true;
}

// Moves u towards `target` as far as it brings the place nearer.
bool PolynomialCurve::advance(PlanePoint p, double squared, double target, CurvePlace& place) const
{
    constexpr int maxHalvings = 30;
    for (int i = 0; i < maxHalvings; ++i, target = 0.5 * (target + place.u)) {
        CurvePlace const trial{place.span, target};
        if (squaredDistance(p, trial) < squared) {
            place = trial;
            return true;
        }
    }
    return false;
}

CurvePlace PolynomialCurve::descend(PlanePoint p, CurvePlace start) const
{
    constexpr int maxSteps = 100;
    double const rounding = 4.0 * machineEpsilon * (std::abs(p.x) + std::abs(p.y));

    CurvePlace place = start;
    bool crossed = false;
    for (int i = 0; i < maxSteps; ++i) {
        Approach const a = approach(p, place);
        double const target = std::clamp(place.u + a.step, 0.0, length(place.span));
        if (target != place.u) {
            if (a.gain <= 4.0 * machineEpsilon * a.squared) {
                place.u = target;  // the rest of the way is below the rounding of the distance
                break;
            }
            if (a.squared <= rounding * rounding || !advance(p, a.squared, target, place)) break;
            crossed = false;
        } else {
            // Where both spans lead into each other the foot is held at a corner.
            if (crossed || !crossBreakPoint(place, a.step)) break;
            crossed = true;
        }
    }
    // A curve that jumps at a break point may have led away.
    return squaredDistance(p, place) <= squaredDistance(p, start) ? place : start;
}

}  // namespace measuremath
