#include "math/BSpline.h"

#include "math/MathError.h"
#include "math/internal/Elementwise.h"
#include "math/internal/SplineSpan.h"

#include <algorithm>
#include <cassert>
#include <numeric>
#include <ostream>

using measuremath::horner;
using measuremath::PlanePoint;
using measuremath::require;
using measuremath::SplineSpan;

namespace {

Vector vectorOf(PlanePoint point)
{
    return Vector::of({point.x, point.y});
}

// Whether steps from 0 reach `maxS`: none of them is lost in its rounding.
bool reaches(double maxS, double step)
{
    return maxS <= 0.0 || maxS + step > maxS;
}

void displayZeros(std::ostream& os, int from, int to)
{
    for (int i = from; i < to; ++i) os << "0 ";
}

void displayValues(std::ostream& os, std::vector<double> const& values)
{
    for (double const value : values) os << value << " ";
}

// The values from index `first` on of `count`, cyclically; where they lap they add up.
std::vector<double> cyclicRow(int count, int first, std::vector<double> const& values)
{
    std::vector<double> row(static_cast<std::size_t>(count));
    for (std::size_t c = 0; c < values.size(); ++c)
        row[(static_cast<std::size_t>(first) + c) % row.size()] += values[c];
    return row;
}

}  // namespace

bool BSpline::hasSpanMatrices() const
{
    // The setters may have changed order and kind since they were computed.
    return !_spanMatrices.empty() && _spanMatrices.front().getRow() == _order &&
           (!_open || _firstIndices.front() >= 0);
}

void BSpline::requireSpanMatrices() const
{
    requireInit();
    require(hasSpanMatrices(), "Invalid BSpline, check order, break points and multiplicities");
}

void BSpline::requireCurve() const
{
    requireSpanMatrices();
    require(std::min(_xControlPoints.getSize(), _yControlPoints.getSize()) >= _nbBSplines,
            "Too few control points, use setOrChangeControlPoints()");
}

SplineSpan BSpline::spanOf(int span) const
{
    double const* const b = _breakPoints.cbegin() + span;
    double const* const matrix = _spanMatrices[static_cast<std::size_t>(span)].begin();
    return {b[0], b[1], _order, matrix, firstSplineIndex(span), _nbBSplines};
}

template <int derivative>
PlanePoint BSpline::evaluate(double s) const
{
    requireCurve();
    SplineSpan const span = spanOf(spanNumber(s));
    double const* const x = _xControlPoints.cbegin();
    double const* const y = _yControlPoints.cbegin();
    return measuremath::withOrder(_order, [&](auto order) {
        return horner<derivative>(order, s - span.start,
                                  [&](int r) { return span.coefficient(order, x, y, r); });
    });
}

Vector BSpline::computeCurvePoint(double s) const
{
    return vectorOf(evaluate<0>(s));
}

PlanePoint BSpline::unitTangent(double s) const
{
    PlanePoint const tangent = evaluate<1>(s);
    double const components[] = {tangent.x, tangent.y};
    double const length = measuremath::norm(components, 2);
    return {tangent.x / length, tangent.y / length};
}

Vector BSpline::computeTangentToCurve(double s) const
{
    return vectorOf(unitTangent(s));
}

Vector BSpline::computeNormalToCurve(double s) const
{
    PlanePoint const tangent = unitTangent(s);
    return vectorOf({-tangent.y, tangent.x});
}

void BSpline::requireSampling(double step) const
{
    requireCurve();
    assert(step > 0.0 && reaches(_maxS, step));
    static_cast<void>(step);
}

void BSpline::splineToCurve(Pix::ListPoint<double>& list, double step) const
{
    requireSampling(step);
    list.clear();
    double s = 0.0;
    while (s < _maxS) {
        list.push_back(evaluate<0>(s));
        s += step;
    }
    if (_open) list.push_back(evaluate<0>(_maxS));
}

void BSpline::fastSplineToCurve(Pix::ListPoint<double>& list, double step) const
{
    requireSampling(step);
    std::vector<PlanePoint> coefficients(static_cast<std::size_t>(_order));
    SplineSpan span = spanOf(0);
    auto const enter = [&](int j) {
        span = spanOf(j);
        for (int r = 0; r < _order; ++r)
            coefficients[static_cast<std::size_t>(r)] =
                span.coefficient(_order, _xControlPoints.cbegin(), _yControlPoints.cbegin(), r);
    };

    list.clear();
    int j = 0;
    enter(j);
    measuremath::withOrder(_order, [&, a = coefficients.data()](auto order) {
        auto const append = [&](double s) {
            list.push_back(horner<0>(order, s - span.start, [a](int r) { return a[r]; }));
        };
        double s = 0.0;
        while (s < _maxS) {
            if (s >= span.end) enter(++j);  // kept: at most one span a sample, whatever the step
            append(s);
            s += step;
        }
        if (_open) append(_maxS);
    });
}

void BSpline::display(std::ostream& os) const
{
    constexpr double step = 0.05;

    requireSpanMatrices();
    require(reaches(_maxS, step), "BSpline too long to display");
    double s = 0.0;
    while (s < _maxS + eps) {
        SplineSpan const span = spanOf(spanNumber(s));
        std::vector<double> values(static_cast<std::size_t>(_order));
        span.basis<0>(s - span.start, values.data());
        os << s << " ";
        if (_open) {
            displayZeros(os, 0, span.first);
            displayValues(os, values);
            displayZeros(os, span.first + _order, _nbBSplines);
        } else {
            displayValues(os, cyclicRow(_nbBSplines, span.first, values));
        }
        os << std::accumulate(values.begin(), values.end(), 0.0) << " \n";
        s += step;
    }
}
