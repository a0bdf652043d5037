#include "math/RoundEstimator.h"

#include "math/internal/Elementwise.h"
#include "math/internal/RoundFit.h"

#include <memory>
#include <utility>

using measuremath::NormalisedPoints;
using measuremath::RoundCostFun;

RoundEstimator::RoundEstimator(unsigned int dimension)
{
    auto costFun = std::make_unique<RoundCostFun>();
    init(dimension + 1, dimension + 1, costFun.get());
    static_cast<void>(costFun.release());  // held by the base from here on
    _lmSolver->setTolerance(measuremath::fitTolerance);
}

Vector RoundEstimator::getCenter() const
{
    return getEstimParams()(0, dimension());
}

double RoundEstimator::getRadius() const
{
    return getEstimParams()[dimension()];
}

void RoundEstimator::setDataColl(std::vector<Vector> const& dataColl)
{
    requireDataSize(dataColl, dimension());
    NLEstimator::setDataColl(dataColl);
}

void RoundEstimator::prepareCostFun(std::vector<Vector> const& dataColl)
{
    static_cast<RoundCostFun&>(*_costFun).setPoints(NormalisedPoints(dataColl, dimension()));
}

bool RoundEstimator::computeEstimation(std::vector<Vector> const& dataColl)
{
    requireDataSize(dataColl, dimension());
    prepareCostFun(dataColl);
    NormalisedPoints const& points = static_cast<RoundCostFun const&>(*_costFun).points();
    Vector const start = algebraicRound(points);
    if (start.empty()) return false;

    *_initParams = start;
    *_estimParams = start;
    bool const isMinimal = points.size() == getNbMinData();
    if (!isMinimal) solvePrepared();
    denormaliseRound(points, *_estimParams, *_estimCov);
    if (isMinimal) _estimCov->setIdentity();
    return measuremath::allFinite(std::as_const(*_estimParams).begin(), getNbParams());
}

void RoundEstimator::computeResiduals(Vector const& params, Vector& residuals) const
{
    std::vector<double const*> coordinates;
    for (unsigned int k = 0; k < dimension(); ++k) coordinates.push_back(getPackedCoordinate(k));
    measuremath::roundResiduals(coordinates, params, residuals);
}
