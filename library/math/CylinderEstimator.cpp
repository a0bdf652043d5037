#include "math/CylinderEstimator.h"

#include "math/internal/CylinderFit.h"
#include "math/internal/Elementwise.h"

#include <memory>
#include <utility>

using measuremath::CylinderCostFun;
using measuremath::NormalisedPoints;
using measuremath::standardiseCylinder;

CylinderEstimator::CylinderEstimator()
{
    auto costFun = std::make_unique<CylinderCostFun>();
    init(7, 6, costFun.get());
    static_cast<void>(costFun.release());  // held by the base from here on
    _lmSolver->setTolerance(measuremath::fitTolerance);
}

Vector CylinderEstimator::getAxisPoint() const
{
    return getEstimParams()(0, 3);
}

Vector CylinderEstimator::getAxisDirection() const
{
    return getEstimParams()(3, 3);
}

double CylinderEstimator::getRadius() const
{
    return getEstimParams()[6];
}

void CylinderEstimator::setDataColl(std::vector<Vector> const& dataColl)
{
    requireDataSize(dataColl, 3);
    NLEstimator::setDataColl(dataColl);
}

void CylinderEstimator::prepareCostFun(std::vector<Vector> const& dataColl)
{
    static_cast<CylinderCostFun&>(*_costFun).setPoints(NormalisedPoints(dataColl, 3));
}

bool CylinderEstimator::computeEstimation(std::vector<Vector> const& dataColl)
{
    requireDataSize(dataColl, 3);
    prepareCostFun(dataColl);
    NormalisedPoints const& points = static_cast<CylinderCostFun const&>(*_costFun).points();
    Vector start = algebraicCylinder(points);
    if (start.empty()) return false;

    standardiseCylinder(start);
    *_initParams = start;
    *_estimParams = start;
    bool const isMinimal = points.size() == getNbMinData();
    if (!isMinimal) solvePrepared();
    standardiseCylinder(*_estimParams);
    double const seuw = isMinimal ? 0.0 : _lmSolver->getSEUWAfter();
    denormaliseCylinder(points, seuw * seuw, *_estimParams, *_estimCov);
    if (isMinimal) _estimCov->setIdentity();
    return measuremath::allFinite(std::as_const(*_estimParams).begin(), getNbParams());
}

void CylinderEstimator::computeResiduals(Vector const& params, Vector& residuals) const
{
    measuremath::cylinderResiduals(getPackedCoordinate(0), getPackedCoordinate(1),
                                   getPackedCoordinate(2), residuals.size(), params,
                                   residuals.begin());
}
