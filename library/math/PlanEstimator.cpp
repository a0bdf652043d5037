#include "math/PlanEstimator.h"

#include "math/SVDSolver.h"
#include "math/internal/Elementwise.h"

#include <algorithm>
#include <cmath>

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

// One row (x, y, z, -1) a point.
Matrix systemOf(std::vector<Vector> const& coll)
{
    Matrix system(coll.size(), 4, Matrix::NO_INIT);
    double* row = system.begin();
    for (Vector const& datum : coll) {
        row = std::copy_n(datum.begin(), 3, row);
        *row++ = -1.0;
    }
    return system;
}

}  // namespace

PlanEstimator::PlanEstimator() : _solver(std::make_unique<SVDSolver>()) { init(4, 4); }

PlanEstimator::~PlanEstimator() = default;

Vector PlanEstimator::getNormal() const { return getEstimParams()(0, 3); }

double PlanEstimator::getDistToOrigin() const { return getEstimParams()[3]; }

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
    Matrix const system = systemOf(dataColl);
    if (!measuremath::allFinite(system.begin(), system.size())) return false;
    _solver->solve(system);
    if (_solver->getMatRank() < 3) return false;

    *_estimParams = _solver->getVecSol();
    *_estimCov = _solver->getCov();
    _rms3D = _solver->getRMS() / normalLength(_solver->getVecSol().begin());
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
