#include "math/internal/RoundFit.h"

#include "math/SVDSolver.h"
#include "math/internal/Constants.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace measuremath {

NormalisedPoints::NormalisedPoints(std::vector<Vector> const& coll, unsigned int dimension)
    : _size(coll.size()),
      _origin(dimension),
      _coordinates(coll.size() * dimension)
{
    double largest = 0.0;
    double extent = 0.0;
    for (unsigned int k = 0; k < dimension; ++k) {
        double* const x = _coordinates.data() + k * _size;
        double const first = std::as_const(coll.front())[k];
        double offset = 0.0;
        for (Vector const& p : coll) offset += (p[k] - first) / static_cast<double>(_size);
        _origin[k] = first + offset;
        for (std::size_t i = 0; i < _size; ++i) {
            x[i] = std::as_const(coll[i])[k] - _origin[k];
            extent = std::isfinite(x[i]) ? std::max(extent, std::abs(x[i])) : x[i];
            largest = std::max(largest, std::abs(_origin[k] + x[i]));
        }
    }
    if (extent > 0.0) _scale = extent;
    for (double& x : _coordinates) x /= _scale;
    bool const finite = std::all_of(_coordinates.begin(), _coordinates.end(),
                                    [](double x) { return std::isfinite(x); });
    _resolution =
        finite ? machineEpsilon * largest / _scale : std::numeric_limits<double>::quiet_NaN();
}

void RoundCostFun::setPoints(NormalisedPoints points)
{
    _points = std::move(points);
    initCostFun(static_cast<unsigned int>(_points.size()), _points.dimension() + 1);
}

void RoundCostFun::computeFunValue(Vector const& params)
{
    std::vector<double const*> coordinates;
    for (unsigned int k = 0; k < _points.dimension(); ++k)
        coordinates.push_back(_points.coordinate(k));
    roundResiduals(coordinates, params, _funValue);
}

// The gradient of the distance to the centre is the unit vector away from the point.
void RoundCostFun::computeAnaJacValue(Vector const& params)
{
    unsigned int const d = _points.dimension();
    double* row = _jacValue.begin();
    for (std::size_t i = 0; i < _points.size(); ++i, row += d + 1) {
        double squares = 0.0;
        for (unsigned int k = 0; k < d; ++k) {
            row[k] = params[k] - _points.coordinate(k)[i];
            squares += row[k] * row[k];
        }
        // At the centre itself every direction is as good; none is taken.
        double const scale = squares > 0.0 ? 1.0 / std::sqrt(squares) : 0.0;
        for (unsigned int k = 0; k < d; ++k) row[k] *= scale;
        row[d] = -1.0;
    }
}

Vector algebraicRound(NormalisedPoints const& points)
{
    unsigned int const d = points.dimension();
    if (!(points.resolution() < 1.0)) return Vector();
    // |x|² = 2·c·x + (r² - |c|²), linear in c and in the last term.
    Matrix A(points.size(), d + 1, Matrix::NO_INIT);
    Vector b(points.size());
    double* row = A.begin();
    double* const squares = b.begin();
    for (std::size_t i = 0; i < points.size(); ++i, row += d + 1) {
        for (unsigned int k = 0; k < d; ++k) {
            double const x = points.coordinate(k)[i];
            row[k] = 2.0 * x;
            squares[i] += x * x;
        }
        row[d] = 1.0;
    }
    SVDSolver solver;
    solver.solve(A, b);
    double const condition = solver.getMatCond();
    double const most = 0.1 / std::max(points.resolution(), machineEpsilon);
    if (solver.getMatRank() <= d || condition > most) return Vector();

    Vector params = solver.getVecSol();
    double const c = params(0, d).length();
    params[d] = std::sqrt(params[d] + c * c);
    return params;
}

void denormaliseRound(NormalisedPoints const& points, Vector& params, Matrix& cov)
{
    params *= points.scale();
    params(0, params(0, points.dimension()) + points.origin());
    cov *= points.scale() * points.scale();
}

void roundResiduals(std::vector<double const*> const& coordinates, Vector const& params,
                    Vector& residuals)
{
    unsigned int const n = residuals.size();
    double* const r = residuals.begin();
    std::fill_n(r, n, 0.0);
    for (unsigned int k = 0; k < coordinates.size(); ++k) {
        double const* const x = coordinates[k];
        double const c = params[k];
        for (unsigned int i = 0; i < n; ++i) r[i] += (x[i] - c) * (x[i] - c);
    }
    double const radius = params[params.size() - 1];
    for (unsigned int i = 0; i < n; ++i) r[i] = std::sqrt(r[i]) - radius;
}

}  // namespace measuremath
