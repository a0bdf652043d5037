#include "math/PlanEstimator.h"

#include "math/SVDSolver.h"
#include "math/internal/Elementwise.h"
#include "math/internal/PointViews.h"
#include "math/internal/TriangularFactor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <typeinfo>

using measuremath::CollectionView;
using measuremath::Coordinates;
using measuremath::InlierView;

namespace {

double normalLength(double const* params)
{
    return std::hypot(params[0], params[1], params[2]);
}

// Signed distance to the plane a·x + b·y + c·z - d = 0.
struct PlaneDistance {
    explicit PlaneDistance(double const* params)
    {
        double const length = normalLength(params);
        for (int k = 0; k < 3; ++k) normal[k] = params[k] / length;
        offset = params[3] / length;
    }
    double operator()(double x, double y, double z) const
    {
        return x * normal[0] + y * normal[1] + z * normal[2] - offset;
    }

    double normal[3];
    double offset;
};

// Of the equation a·x + b·y + c·z - d = 0.
std::array<double, 4> rowOf(Coordinates<3> const& p)
{
    return {p[0], p[1], p[2], -1.0};
}

// One row a point. Of many points the triangular factor, which has the same solution and singular
// values.
template <class Points>
Matrix systemOf(Points const& points)
{
    constexpr std::size_t few = 32;
    if (points.size() >= few) {
        measuremath::TriangularFactor factor(points.size(), 4);
        points.forEach([&](Coordinates<3> const& p) { factor.addRow(rowOf(p).data()); });
        return factor.get();
    }
    Matrix system(points.size(), 4, Matrix::NO_INIT);
    double* out = system.begin();
    points.forEach([&](Coordinates<3> const& p) { out = std::copy_n(rowOf(p).begin(), 4, out); });
    return system;
}

// Of the values of the equations.
template <class Points>
double sumOfSquares(Points const& points, double const* params)
{
    double sum = 0.0;
    points.forEach([&](Coordinates<3> const& p) {
        double const r = p[0] * params[0] + p[1] * params[1] + p[2] * params[2] - params[3];
        sum += r * r;
    });
    return sum;
}

}  // namespace

PlanEstimator::PlanEstimator() : _solver(std::make_unique<SVDSolver>())
{
    init(4, 4);
}

PlanEstimator::~PlanEstimator() = default;

Vector PlanEstimator::getNormal() const
{
    return getEstimParams()(0, 3);
}

double PlanEstimator::getDistToOrigin() const
{
    return getEstimParams()[3];
}

double PlanEstimator::getRMS3D() const
{
    measuremath::require(_isEstimated, "Call estim before use");
    return _rms3D;
}

void PlanEstimator::setDataColl(std::vector<Vector> const& dataColl)
{
    requireDataSize(dataColl, 3);
    Estimator::setDataColl(dataColl);
}

bool PlanEstimator::computeEstimation(std::vector<Vector> const& dataColl)
{
    return fit(CollectionView<3>(dataColl));
}

bool PlanEstimator::estimInliers(std::vector<bool> const& isOutlier)
{
    // A derived class may have steps of its own, on the collection.
    if (typeid(*this) != typeid(PlanEstimator)) return Estimator::estimInliers(isOutlier);

    InlierView<3> const inliers(
        isOutlier, {getPackedCoordinate(0), getPackedCoordinate(1), getPackedCoordinate(2)});
    beginEstim(inliers.size());
    _isEstimated = fit(inliers);
    return _isEstimated;
}

template <class Points>
bool PlanEstimator::fit(Points const& points)
{
    Matrix const system = systemOf(points);
    if (!measuremath::allFinite(system.begin(), system.size())) return false;
    _solver->solve(system);
    if (_solver->getMatRank() < 3) return false;

    *_estimParams = _solver->getVecSol();
    *_estimCov = _solver->getCov();
    double const* const params = _solver->getVecSol().begin();
    double const squares = sumOfSquares(points, params);
    double const n = static_cast<double>(points.size());
    if (system.getNbRow() < points.size()) *_estimCov *= squares / (n - 4.0);
    _rms3D = std::sqrt(squares / n) / normalLength(params);
    return true;
}

void PlanEstimator::computeResiduals(Vector const& params, Vector& residuals) const
{
    PlaneDistance const distance(params.begin());
    double const* const x = getPackedCoordinate(0);
    double const* const y = getPackedCoordinate(1);
    double const* const z = getPackedCoordinate(2);
    double* const r = residuals.begin();
    unsigned int const n = residuals.size();
    for (unsigned int i = 0; i < n; ++i) r[i] = distance(x[i], y[i], z[i]);
}

void PlanEstimator::computeResiduals(Vector const& params, std::vector<Vector> const& coll,
                                     Vector& residuals)
{
    measuremath::require(residuals.size() == coll.size(), "Uncompatible vector/coll sizes");
    measuremath::require(params.size() == 4, "Invalid parameters vector size");
    requireDataSize(coll, 3);

    PlaneDistance const distance(params.begin());
    double* r = residuals.begin();
    for (Vector const& datum : coll) *r++ = distance(datum[0], datum[1], datum[2]);
}
