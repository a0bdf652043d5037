#include "math/WeightedCostFun.h"

#include "math/MathError.h"
#include "math/internal/Elementwise.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <functional>

using measuremath::require;

void WeightedCostFun::initCostFun(unsigned int const& nbEquations, unsigned int const& nbVariables)
{
    std::vector<bool> flags(nbVariables, true);
    Vector weights(nbEquations, Vector::NO_INIT);
    std::fill(weights.begin(), weights.end(), 1.0);
    CostFun::initCostFun(nbEquations, nbVariables);

    _nbTotVariables = nbVariables;
    _estimFlags.swap(flags);
    _fixedParams = Vector();
    _fixedParamsSet = true;
    _weights = weights;
    _weightedFunValue = _funValue;
    _weightedJacValue = _jacValue;
}

void WeightedCostFun::setEstimFlags(std::vector<bool> const& flags)
{
    require(flags.size() == getNbTotVariables(), "Invalid estim flag vector size");

    std::vector<bool> copy = flags;
    Matrix const jacobian(getNbEquations(), std::count(flags.begin(), flags.end(), true));
    _estimFlags.swap(copy);
    _jacValue = jacobian;
    _weightedJacValue = jacobian;
    _fixedParamsSet = getNbFixedVariables() == 0;
    if (_fixedParamsSet) _fixedParams = Vector();
}

std::vector<bool> const& WeightedCostFun::getEstimFlags() const
{
    requireInit();
    return _estimFlags;
}

bool WeightedCostFun::getEstimFlag(unsigned int i) const
{
    require(i < getNbTotVariables(), "Invalid estim flag idx");
    return _estimFlags[i];
}

void WeightedCostFun::setFixedParams(Vector const& v)
{
    require(v.size() == getNbFixedVariables(), "Invalid fixed Vector size");

    _fixedParams = v;
    _fixedParamsSet = true;
}

Vector const& WeightedCostFun::getFixedParams() const
{
    require(_fixedParamsSet, "Call setFixedParams before use");
    return _fixedParams;
}

void WeightedCostFun::setWeights(Vector const& w)
{
    require(w.size() == getNbEquations(), "Invalid weights vector size");

    _weights = w;
}

Vector const& WeightedCostFun::getWeights() const
{
    requireInit();
    return _weights;
}

unsigned int WeightedCostFun::getNbTotVariables() const
{
    requireInit();
    return _nbTotVariables;
}

unsigned int WeightedCostFun::getNbFixedVariables() const
{
    return getNbTotVariables() - getNbVariables();
}

void WeightedCostFun::getAllParams(Vector const& estim, Vector& all) const
{
    require(all.size() == getNbTotVariables(), "Invalid params vector size");
    require(estim.size() == getNbVariables(), "Invalid estim params vector size");
    require(_fixedParamsSet, "Init fixed params before use");

    double* const out = all.begin();
    double const* nextEstimated = estim.begin();
    double const* nextFixed = _fixedParams.begin();
    for (std::size_t i = 0; i < _estimFlags.size(); ++i)
        out[i] = _estimFlags[i] ? *nextEstimated++ : *nextFixed++;
}

// Given by value, so that a hook which evaluates again keeps the parameters that it was called with.
Vector WeightedCostFun::allParams(Vector const& x)
{
    requireVariables(x);
    if (_allParams.size() != _nbTotVariables) _allParams = Vector(_nbTotVariables);
    getAllParams(x, _allParams);
    return _allParams;
}

Vector const& WeightedCostFun::getNonWeightedResiduals(Vector const& x)
{
    return evaluateFunValue(allParams(x));
}

Vector const& WeightedCostFun::getFunValue(Vector const& x)
{
    Vector const& r = getNonWeightedResiduals(x);
    Vector const& w = _weights;
    measuremath::transform(w.begin(), r.begin(), _weightedFunValue.begin(), r.size(),
                           std::multiplies<>());
    return _weightedFunValue;
}

Matrix const& WeightedCostFun::getJacValue(Vector const& x)
{
    Vector const all = allParams(x);
    if (_anaDer)
        evaluateAnaJacValue(all);
    else
        computeNumJacValue(x);  // kept: of weighted residuals, so that the weights enter twice

    std::size_t const n = _jacValue.getNbCol();
    Matrix const& jacobian = _jacValue;
    double const* in = jacobian.begin();
    double* out = _weightedJacValue.begin();
    for (double const w : static_cast<Vector const&>(_weights)) {
        measuremath::transform(in, out, n, [w](double value) { return w * value; });
        in += n;
        out += n;
    }
    return _weightedJacValue;
}

double WeightedCostFun::computeRMS(Vector const& x)
{
    Vector const& r = getNonWeightedResiduals(x);
    return std::sqrt(r.dot(r) / getNbEquations());
}

void WeightedCostFun::getAllParamsCov(Matrix const& estimCov, Matrix& allCov) const
{
    require(allCov.getNbCol() == getNbTotVariables(), "Invalid covariance matrix size");
    require(allCov.getNbRow() == getNbTotVariables(), "Invalid covariance matrix size");
    require(estimCov.getNbRow() == getNbVariables(),
            "Invalid estimated parameters covariance matrix size");
    assert(estimCov.getNbCol() == getNbVariables());  // promised not to be checked

    Matrix const estimated = estimCov;  // allCov may be the same object
    allCov.zeroed();
    std::size_t const N = _nbTotVariables;
    double* const out = allCov.begin();
    for (std::size_t i = 0, ei = 0; i < N; ++i) {
        if (!_estimFlags[i]) continue;
        double const* nextEstimated = estimated[ei++];
        for (std::size_t j = 0; j < N; ++j)
            if (_estimFlags[j]) out[i * N + j] = *nextEstimated++;
    }
}
