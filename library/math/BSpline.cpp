#include "math/BSpline.h"

#include "math/MathError.h"
#include "math/internal/SplineSpan.h"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cmath>
#include <numeric>

using measuremath::fallingFactorial;
using measuremath::require;

namespace {

// Runs a change of the curve that may throw; the curve is then what it was.
template <class Change>
void changeOrRestore(BSpline& curve, Change change)
{
    BSpline const before = curve;
    try {
        change();
    } catch (...) {
        curve = before;
        throw;
    }
}

void requirePlanar(std::vector<Vector> const& points)
{
    for (Vector const& point : points) require(point.getSize() >= 2, "Invalid control point size");
}

// A count may be negative where the input is no B-spline, but it must be an int.
int toCount(long long count)
{
    require(count >= INT_MIN && count <= INT_MAX, "Invalid array size");
    return static_cast<int>(count);
}

int floorModulo(int i, int n)
{
    int const remainder = i % n;
    return remainder < 0 ? remainder + n : remainder;
}

bool isIncreasing(Vector const& v)
{
    for (int i = 1; i < v.getSize(); ++i)
        if (!(v[i - 1] < v[i])) return false;
    return true;
}

// 1 over a difference of knots; 0 leaves a term out, the convention 0/0 = 0 of repeated knots.
double inverseGap(double from, double to)
{
    return to - from < BSpline::eps ? 0.0 : 1.0 / (to - from);
}

// From order p - 1 to p on the columns' coefficients in u = s - origin:
//   N_{c,p} = (s - t_c) / (t_{c+p-1} - t_c) N_{c,p-1} + (t_{c+p} - s) / (t_{c+p} - t_{c+1}) N_{c+1,p-1}
// In place: column c needs c + 1 of the order before, and power r needs r - 1.
void raiseOrder(int p, double const* t, double origin, Matrix& spanMatrix)
{
    std::ptrdiff_t const k = spanMatrix.getCol();
    double* const m = spanMatrix.begin();
    for (int c = 0; c < k; ++c) {
        bool const hasNext = c + 1 < k;  // N_{k,p-1} is zero on this span
        double const rise = inverseGap(t[c], t[c + p - 1]);
        double const fall = hasNext ? inverseGap(t[c + 1], t[c + p]) : 0.0;
        for (int r = p - 1; r >= 0; --r) {
            double* const own = m + (r * k + c);
            double const ownLower = r > 0 ? own[-k] : 0.0;
            double const next = hasNext ? own[1] : 0.0;
            double const nextLower = hasNext && r > 0 ? own[1 - k] : 0.0;
            *own = rise * (ownLower + (origin - t[c]) * *own) +
                   fall * ((t[c + p] - origin) * next - nextLower);
        }
    }
}

// Cox-de Boor recursion over the 2k knots t that the k functions of the span meet.
void fillSpanMatrix(double const* t, double origin, Matrix& spanMatrix)
{
    int const k = spanMatrix.getCol();
    spanMatrix.zeroed();
    double* const constants = spanMatrix.begin();
    for (int c = 0; c < k; ++c) constants[c] = t[c] <= origin && origin < t[c + 1] ? 1.0 : 0.0;
    for (int p = 2; p <= k; ++p) raiseOrder(p, t, origin, spanMatrix);
}

// P[r] = d^n/du^n u^r.
void fillPowers(double u, int n, Vector& P, int order)
{
    require(P.getSize() == order, "Size Error on param powers vector");

    double* const p = P.begin();
    double power = 1.0;
    for (int r = 0; r < order; ++r) {
        p[r] = r < n ? 0.0 : fallingFactorial(r, n) * power;
        if (r >= n) power *= u;
    }
}

}  // namespace

void BSpline::init(int order, Vector const& breakPoints, std::vector<int> const& knotMultiplicities,
                   bool open)
{
    changeOrRestore(*this, [&] {
        _open = open;
        _isInit = true;
        _order = order;
        setBreakPoints(breakPoints);
        setKnotMultiplicities(knotMultiplicities);
        computeAttributes();
    });
}

void BSpline::setBreakPoints(Vector const& breakPoints)
{
    _breakPoints.initVector(breakPoints);
}

void BSpline::setKnotMultiplicities(std::vector<int> const& knotMultiplicities)
{
    _knotMultiplicities = knotMultiplicities;
    _knotMultiplicities.resize(_breakPoints.size(), 1);
    if (_knotMultiplicities.empty()) return;
    if (_open) _knotMultiplicities.front() = _order;
    _knotMultiplicities.back() = _knotMultiplicities.front();
}

void BSpline::requireInit() const
{
    // kept: callers compare the text, blanks included
    require(_isInit, "Uninitialized  BSpline , use init()");
}

void BSpline::setOrChangeControlPoints(std::vector<Vector> const& points)
{
    requireInit();
    requirePlanar(points);

    changeOrRestore(*this, [&] {
        _controlPoints = points;
        _controlPoints.resize(static_cast<std::size_t>(std::max(_nbBSplines, 0)), Vector(2));
        computeXYControlPoints();
    });
}

void BSpline::computeXYControlPoints()
{
    _xControlPoints = Vector(_controlPoints.size(), Vector::NO_INIT);
    _yControlPoints = Vector(_controlPoints.size(), Vector::NO_INIT);
    double* x = _xControlPoints.begin();
    double* y = _yControlPoints.begin();
    for (Vector const& point : _controlPoints) {
        *x++ = point[0];
        *y++ = point[1];
    }
}

void BSpline::computeAttributes()
{
    computeNbSpans();
    computeMaxS();
    computeNbKnots();
    initKnots();
    computeKnots();
    computeNbBSplines();
    initVectorSpanMatrix();
    computeVectorSpanMatrix();
    computeMetricMatrixAndBis();
}

void BSpline::computeNbSpans()
{
    _nbSpans = _breakPoints.getSize() - 1;
}

void BSpline::computeMaxS()
{
    _maxS = _breakPoints.empty() ? 0.0 : *(_breakPoints.cend() - 1);
}

void BSpline::computeNbKnots()
{
    auto const& m = _knotMultiplicities;
    _nbKnots = toCount(std::accumulate(m.begin(), m.end(), 0LL));
}

void BSpline::computeNbBSplines()
{
    auto const& m = _knotMultiplicities;
    long long const excess = _open ? _order : (m.empty() ? 0 : m.front());
    _nbBSplines = toCount(_nbKnots - excess);
}

void BSpline::initKnots()
{
    _knots = Vector(std::max(_nbKnots, 0));
}

void BSpline::computeKnots()
{
    double* t = _knots.begin();
    double const* const end = t + _knots.size();
    for (std::size_t j = 0; j < _knotMultiplicities.size(); ++j)
        for (int m = 0; m < _knotMultiplicities[j] && t != end; ++m)
            *t++ = _breakPoints.cbegin()[j];
}

void BSpline::initVectorSpanMatrix()
{
    int const k = std::max(_order, 0);
    int const nbMatrices = k == 0 ? 0 : std::max(_nbSpans, 0);
    _spanMatrices.assign(static_cast<std::size_t>(nbMatrices), Matrix(k, k));
}

void BSpline::computeVectorSpanMatrix()
{
    if (_order < 1 || _nbSpans < 1 || !hasValidBreakPoints() || !hasValidKnots()) {
        _spanMatrices.clear();
        return;
    }
    computeFirstIndices();
    for (int j = 0; j < _nbSpans; ++j) {
        if (_open)
            computeSpanMatrix(j);
        else
            computeSpanMatrixC(j);
    }
}

bool BSpline::hasValidBreakPoints() const
{
    if (_breakPoints.getSize() != _nbSpans + 1 || !isIncreasing(_breakPoints)) return false;
    double const* const b = _breakPoints.cbegin();
    return std::isfinite(b[_nbSpans] - b[0]) && _maxS <= b[_nbSpans];
}

bool BSpline::hasValidKnots() const
{
    auto const& m = _knotMultiplicities;
    bool const isCounted = m.size() == _breakPoints.size() && _knots.getSize() == _nbKnots &&
                           std::all_of(m.begin(), m.end(), [](int i) { return i >= 0; }) &&
                           std::accumulate(m.begin(), m.end(), 0LL) == _nbKnots;
    if (!isCounted) return false;
    if (!_open) return _nbBSplines >= 1 && _nbBSplines == _nbKnots - m.front();
    return m.front() == _order && m.back() == _order && _nbBSplines == _nbKnots - _order;
}

void BSpline::computeFirstIndices()
{
    _firstIndices = _knotMultiplicities;
    std::partial_sum(_firstIndices.begin(), _firstIndices.end(), _firstIndices.begin());
    for (int& first : _firstIndices) first -= _order;
}

void BSpline::computeSpanMatrix(int span)
{
    fillSpanMatrix(_knots.cbegin() + _firstIndices[static_cast<std::size_t>(span)],
                   _breakPoints.cbegin()[span], _spanMatrices[static_cast<std::size_t>(span)]);
}

void BSpline::computeSpanMatrixC(int span)
{
    double const* const b = _breakPoints.cbegin();
    double const period = b[_nbSpans] - b[0];
    int const first = _firstIndices[static_cast<std::size_t>(span)];
    Vector cyclicKnots(2 * _order, Vector::NO_INIT);
    double* const t = cyclicKnots.begin();
    for (int c = 0; c < 2 * _order; ++c) {
        int const wrapped = floorModulo(first + c, _nbBSplines);
        int const turns = (first + c - wrapped) / _nbBSplines;
        t[c] = _knots.cbegin()[wrapped] + period * turns;
    }
    fillSpanMatrix(t, b[span], _spanMatrices[static_cast<std::size_t>(span)]);
}

int BSpline::firstSplineIndex(int span) const
{
    assert(span >= 0 && span < static_cast<int>(_firstIndices.size()));
    int const first = _firstIndices[static_cast<std::size_t>(span)];
    return _open ? first : floorModulo(first, _nbBSplines);
}

int BSpline::spanNumber(double s) const
{
    if (std::abs(s - _maxS) < eps) return _nbSpans - 1;
    double const* const ends = _breakPoints.cbegin() + 1;
    double const* const end =
        std::partition_point(ends, ends + _nbSpans, [s](double b) { return s >= b; });
    require(end != ends + _nbSpans, "Bad parameter value");
    return static_cast<int>(end - ends);
}

void BSpline::computeParamPowers(double u, Vector& P) const
{
    fillPowers(u, 0, P, _order);
}
void BSpline::computeDerivatedParamPowers(double u, Vector& P) const
{
    fillPowers(u, 1, P, _order);
}
void BSpline::computeSecondDerivatedParamPowers(double u, Vector& P) const
{
    fillPowers(u, 2, P, _order);
}
void BSpline::computeThirdDerivatedParamPowers(double u, Vector& P) const
{
    fillPowers(u, 3, P, _order);
}

void BSpline::computeDerivParamPowers(double u, int n, Vector& P) const
{
    require(P.getSize() == _order, "Size Error on derivative param powers vector");
    require(n >= 1, "Erroneous param nth");
    require(_order >= 2, "Erroneous BSpline order");

    P.zeroed();
    double* const p = P.begin();
    double power = 1.0;
    for (int r = n; r < _order; ++r) {
        p[r] = fallingFactorial(r, n) * power;
        power = std::trunc(power * u);  // kept: the running power is a whole number
    }
}

void BSplineSimple::init(int order, std::vector<Vector> const& controlPoints, bool open)
{
    requirePlanar(controlPoints);

    changeOrRestore(*this, [&] {
        _open = open;
        _isInit = true;
        _order = order;
        _controlPoints = controlPoints;
        computeXYControlPoints();
        computeAttributes();
    });
}

void BSplineSimple::computeAttributes()
{
    computeNbBSplines();
    computeNbKnots();
    computeNbSpans();
    computeMaxS();
    Vector uniform(_order < 1 ? 0 : std::max(_nbSpans, -1) + 1, Vector::NO_INIT);
    std::iota(uniform.begin(), uniform.end(), 0.0);
    setBreakPoints(uniform);
    setKnotMultiplicities({});
    initKnots();
    computeKnots();
    initVectorSpanMatrix();
    computeVectorSpanMatrix();
    computeMetricMatrixAndBis();
}

void BSplineSimple::computeNbBSplines()
{
    _nbBSplines = static_cast<int>(_controlPoints.size());
}

void BSplineSimple::computeNbKnots()
{
    _nbKnots = toCount(_nbBSplines + (_open ? _order : 1LL));
}

void BSplineSimple::computeNbSpans()
{
    _nbSpans = toCount(_nbBSplines + (_open ? 1LL - _order : 0LL));
}

void BSplineSimple::computeMaxS()
{
    _maxS = _nbSpans;
}
