#include "math/internal/SplineFit.h"

#include "math/LinearAlgebra.h"
#include "math/MathError.h"
#include "math/internal/Constants.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace measuremath {

namespace {

// visit(i, j, value) for every element of the symmetric matrix that a band stands for.
template <class Visit>
void forEachOfBand(Matrix const& band, Visit visit)
{
    int const n = band.getRow();
    for (int i = 0; i < n; ++i) {
        double const* const row = band[i];
        visit(i, i, row[0]);
        for (int c = 1; c < band.getCol(); ++c) {
            int const j = (i + c) % n;
            visit(i, j, row[c]);
            visit(j, i, row[c]);
        }
    }
}

// xᵀ · M · x
double quadraticForm(Matrix const& band, double const* x)
{
    double sum = 0.0;
    forEachOfBand(band, [&](int i, int j, double value) { sum += x[i] * value * x[j]; });
    return sum;
}

double trace(Matrix const& band)
{
    double sum = 0.0;
    for (int i = 0; i < band.getRow(); ++i) sum += band[i][0];
    return sum;
}

// How much an error in each direction counts: n·nᵀ for a foot that slides along the tangent, the
// identity for one that is held.
struct DirectionWeights {
    double xx;
    double xy;
    double yy;
};

constexpr DirectionWeights allDirections{1.0, 0.0, 1.0};

DirectionWeights normalDirection(PlanePoint tangent)
{
    double const squared = tangent.x * tangent.x + tangent.y * tangent.y;
    if (!(squared > 0.0)) return allDirections;
    return {tangent.y * tangent.y / squared, -tangent.x * tangent.y / squared,
            tangent.x * tangent.x / squared};
}

}  // namespace

// A penalised linear least squares problem in the changes of the control points: all of x, then
// all of y. Only the upper triangle of the matrix is kept.
class NormalEquations {
public:
    explicit NormalEquations(int n) : _n(n), _matrix(2 * n, 2 * n), _right(2 * n) {}

    // Adds weight · |r - Σ_c basis[c] · change|² in the given directions.
    void addPoint(SplineSpan const& span, double const* basis, double weight, DirectionWeights d,
                  PlanePoint r)
    {
        double* const right = _right.begin();
        double* const matrix = _matrix.begin();
        for (int a = 0, i = span.first; a < span.order; ++a, i = span.next(i)) {
            double const factor = weight * basis[a];
            right[i] += factor * (d.xx * r.x + d.xy * r.y);
            right[_n + i] += factor * (d.xy * r.x + d.yy * r.y);
            double* const xRow = matrix + rowStart(i);
            double* const yRow = matrix + rowStart(_n + i) + _n;
            for (int b = 0, j = span.first; b < span.order; ++b, j = span.next(j)) {
                double const product = factor * basis[b];
                xRow[j] += product * d.xx;
                xRow[_n + j] += product * d.xy;
                yRow[j] += product * d.yy;
            }
        }
    }

    // Adds factor · ∫ |change|² in the metric of the band.
    void addPenalty(Matrix const& band, double factor)
    {
        double* const matrix = _matrix.begin();
        forEachOfBand(band, [&](int i, int j, double value) {
            matrix[rowStart(i) + j] += factor * value;
            matrix[rowStart(_n + i) + _n + j] += factor * value;
        });
    }

    // Turns the penalty on the change into one on the control points (x, y) that it leads to.
    void addPenaltyOfStart(Matrix const& band, double factor, double const* x, double const* y)
    {
        double* const right = _right.begin();
        forEachOfBand(band, [&](int i, int j, double value) {
            right[i] -= factor * value * x[j];
            right[_n + i] -= factor * value * y[j];
        });
    }

    double trace() const
    {
        double sum = 0.0;
        for (int i = 0; i < 2 * _n; ++i) sum += _matrix[i][i];
        return sum;
    }

    // Whether each unknown keeps some digits after those before it are eliminated.
    bool isDetermined() const
    {
        Matrix U(2 * _n, 2 * _n, Matrix::NO_INIT);
        if (!posDefDecomp(_matrix, U)) return false;
        Matrix const& factor = U;
        for (int i = 0; i < 2 * _n; ++i) {
            double const pivot = factor[i][i] * factor[i][i];
            if (!(pivot > 2 * _n * machineEpsilon * _matrix[i][i])) return false;
        }
        return true;
    }

    bool solve(Vector& change) const { return posDefSolve(_matrix, _right, change); }

private:
    std::ptrdiff_t rowStart(int i) const { return static_cast<std::ptrdiff_t>(i) * 2 * _n; }

    int _n;
    Matrix _matrix;
    Vector _right;
};

SplineFit::SplineFit(std::vector<SplineSpan> spans, bool open, FitPenalties penalties,
                     std::vector<MatchedPointInfo> const& points)
    : _spans(std::move(spans)),
      _open(open),
      _penalties(std::move(penalties)),
      _points(points),
      _isHeld(points.size(), false),
      _state(shrunkTo(points.front().point))
{
    if (_open) {
        holdIfAlone({0, 0.0});
        holdIfAlone({_state.curve.nbSpans() - 1, _spans.back().end - _spans.back().start});
    }
    NormalEquations const equations = linearised(Feet::HELD);
    std::optional<State> fitted;
    if (equations.isDetermined()) fitted = step(equations, 0.0);
    require(fitted && std::isfinite(fitted->objective), "Points do not determine the BSpline");
    _state = std::move(*fitted);
}

// Nothing else keeps the end of an open curve from growing beyond the data. Where several points
// are matched to an end they lie beyond it: the curve must grow.
void SplineFit::holdIfAlone(CurvePlace end)
{
    auto const isThere = [end](CurvePlace foot) {
        return foot.span == end.span && foot.u == end.u;
    };
    auto const& feet = _state.feet;
    if (std::count_if(feet.begin(), feet.end(), isThere) != 1) return;
    auto const alone = std::find_if(feet.begin(), feet.end(), isThere);
    _isHeld[static_cast<std::size_t>(alone - feet.begin())] = true;
}

bool SplineFit::improve()
{
    constexpr double maxDamping = 10.0;  // steps are short by then: no descent is left
    constexpr double factor = 3.0;    // 10 takes twice the time along the valleys of sliding points
    constexpr double settled = 1e-6;  // of the objective, twice that of the RMS distance

    NormalEquations const equations = linearised(Feet::SLIDING);
    double const scale = equations.trace() / (2.0 * trace(_penalties.metric));
    for (; _damping < maxDamping; _damping *= factor) {
        std::optional<State> next = step(equations, _damping * scale);
        if (!next || !(next->objective < _state.objective)) continue;
        bool const goesOn = _state.objective - next->objective > settled * _state.objective;
        _state = std::move(*next);
        _damping /= factor;
        return goesOn;
    }
    return false;
}

void SplineFit::exportMatches(std::vector<MatchedPointInfo>& points) const
{
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i].s = _state.curve.parameterOf(_state.feet[i]);
        points[i].distance = std::sqrt(_state.squaredDistances[i]);
    }
}

// The curve whose control points all are the first measured point: changes of it keep the digits
// of data far from the origin.
SplineFit::State SplineFit::shrunkTo(PlanePoint origin) const
{
    int const n = _penalties.metric.getRow();
    Vector x(n, Vector::NO_INIT);
    Vector y(n, Vector::NO_INIT);
    std::fill(x.begin(), x.end(), origin.x);
    std::fill(y.begin(), y.end(), origin.y);
    PolynomialCurve const curve(_spans, _open, x.cbegin(), y.cbegin());
    std::vector<CurvePlace> feet;
    for (MatchedPointInfo const& info : _points) feet.push_back(curve.placeOf(info.s));
    return {x, y, curve, feet, {}, 0.0};
}

SplineFit::State SplineFit::moved(State const& from, Vector const& change) const
{
    int const n = from.x.getSize();
    Vector const x = from.x + change(0, n);
    Vector const y = from.y + change(n, n);
    State to{x, y, PolynomialCurve(_spans, _open, x.cbegin(), y.cbegin()), {}, {}, 0.0};
    for (std::size_t i = 0; i < _points.size(); ++i) {
        PlanePoint const p = _points[i].point;
        CurvePlace const foot = _isHeld[i] ? from.feet[i] : to.curve.descend(p, from.feet[i]);
        double const squared = to.curve.squaredDistance(p, foot);
        to.feet.push_back(foot);
        to.squaredDistances.push_back(squared);
        to.objective += _points[i].weight * squared;
    }
    to.objective += _penalties.smoothing * (quadraticForm(_penalties.bending, x.cbegin()) +
                                            quadraticForm(_penalties.bending, y.cbegin()));
    return to;
}

std::optional<SplineFit::State> SplineFit::step(NormalEquations equations, double damping) const
{
    equations.addPenalty(_penalties.metric, damping);
    Vector change(2 * _penalties.metric.getRow());
    if (!equations.solve(change)) return std::nullopt;
    return moved(_state, change);
}

// Least squares for the distances to the curve as it is, to first order in a change of it.
NormalEquations SplineFit::linearised(Feet feet) const
{
    NormalEquations equations(_penalties.metric.getRow());
    PolynomialCurve const& curve = _state.curve;
    std::vector<double> basis(static_cast<std::size_t>(_spans.front().order));
    for (std::size_t i = 0; i < _points.size(); ++i) {
        CurvePlace const foot = _state.feet[i];
        SplineSpan const& span = _spans[static_cast<std::size_t>(foot.span)];
        span.basis<0>(foot.u, basis.data());
        bool const slides = feet == Feet::SLIDING && !curve.isBreakPoint(foot);
        PlanePoint const p = _points[i].point;
        PlanePoint const c = curve.at<0>(foot);
        equations.addPoint(span, basis.data(), _points[i].weight,
                           slides ? normalDirection(curve.at<1>(foot)) : allDirections,
                           {p.x - c.x, p.y - c.y});
    }
    equations.addPenalty(_penalties.bending, _penalties.smoothing);
    equations.addPenaltyOfStart(_penalties.bending, _penalties.smoothing, _state.x.cbegin(),
                                _state.y.cbegin());
    return equations;
}

}  // namespace measuremath
