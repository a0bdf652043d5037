#include "math/NLEstimator.h"

#include "math/LMMinPack.h"
#include "math/MathError.h"

using measuremath::require;

NLEstimator::NLEstimator()
    : _initParams(std::make_unique<Vector>()),
      _lmSolver(std::make_unique<LMMinPack>())
{
}

NLEstimator::~NLEstimator() = default;

void NLEstimator::init(unsigned int nbParams, unsigned int nbMinData, CostFun* costFun)
{
    require(costFun != nullptr, "Invalid CostFun, should not be null");
    Estimator::init(nbParams, nbMinData);
    if (costFun != _costFun.get()) _costFun.reset(costFun);
}

void NLEstimator::setInitParams(Vector const& v)
{
    require(v.size() == getNbParams(), "Invalid initParams vector size");
    _isEstimated = false;
    *_initParams = v;
}

void NLEstimator::setLMSolver(LMSolver* solver)
{
    require(solver != nullptr, "Invalid LMSolver, should not be null");
    _isEstimated = false;
    if (solver != _lmSolver.get()) _lmSolver.reset(solver);
}

LMSolver const& NLEstimator::getLMSolver() const
{
    require(_isEstimated, "Call estim before use");
    return *_lmSolver;
}

CostFun const& NLEstimator::getCostFun() const
{
    require(_isEstimated, "Call estim before use");
    return *_costFun;
}

bool NLEstimator::computeEstimation(std::vector<Vector> const& dataColl)
{
    require(_initParams->size() == getNbParams(), "Set initVecSol before use");
    prepareCostFun(dataColl);
    return solvePrepared();
}

bool NLEstimator::solvePrepared()
{
    _lmSolver->setCostFun(_costFun.get());
    _lmSolver->setInitVecSol(*_initParams);
    _lmSolver->solve();

    double const s = _lmSolver->getSEUWAfter();
    *_estimParams = _lmSolver->getVecSol();
    *_estimCov = s * s * _lmSolver->getCov();
    return _lmSolver->getEndFlag() != LMSolver::ErrorEnd;
}
