#pragma once

#include "math/internal/SplineSpan.h"

#include <vector>

namespace measuremath {

/// A place on a spline curve: u from the start of the span, at most its length.
struct CurvePlace {
    int span = 0;
    double u = 0.0;
};

/// A spline curve as polynomials, span by span, for work that evaluates it at many places.
class PolynomialCurve {
public:
    /// The spans of the curve, one at least, and its control points; (x[i], y[i]) are copied.
    PolynomialCurve(std::vector<SplineSpan> const& spans, bool open, double const* x,
                    double const* y);

    CurvePlace placeOf(double s) const;
    double parameterOf(CurvePlace place) const;

    /// Point of the curve, or derivative with respect to s.
    template <int derivative>
    PlanePoint at(CurvePlace place) const
    {
        PlanePoint const* const a = &_coefficients[index(place.span) * index(_order)];
        return horner<derivative>(_order, place.u, [a](int r) { return a[r]; });
    }

    double squaredDistance(PlanePoint p, CurvePlace place) const;

    /// The local minimum of the distance to p that Newton's method, kept from ever increasing the
    /// distance, finds from `start` on.
    CurvePlace descend(PlanePoint p, CurvePlace start) const;

    /// Whether the place is a break point: only corners and ends hold a foot there.
    bool isBreakPoint(CurvePlace place) const
    {
        return place.u == 0.0 || place.u == length(place.span);
    }

    int nbSpans() const { return static_cast<int>(_spans.size()); }
    double length(int span) const { return _spans[index(span)].end - _spans[index(span)].start; }
    SplineSpan const& span(int span) const { return _spans[index(span)]; }

private:
    static std::size_t index(int i) { return static_cast<std::size_t>(i); }
    struct Approach;
    Approach approach(PlanePoint p, CurvePlace place) const;
    bool crossBreakPoint(CurvePlace& place, double step) const;
    bool advance(PlanePoint p, double squared, double target, CurvePlace& place) const;

    std::vector<SplineSpan> _spans;
    std::vector<PlanePoint> _coefficients;  // of span j from j · order on, by rising power
    int _order;
    bool _open;
};

}  // namespace measuremath
