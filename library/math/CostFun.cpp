#include "math/CostFun.h"

#include "math/MathError.h"
#include "math/internal/Constants.h"

#include <cmath>

using measuremath::require;

namespace {

double forwardStep(double x)
{
    double const h = std::abs(x) * measuremath::sqrtMachineEpsilon;
    return h == 0.0 ? measuremath::sqrtMachineEpsilon : h;
}

// Column j = (f - f0) / h.
void setDifferenceColumn(Matrix& jacobian, int j, Vector const& f, Vector const& f0, double h)
{
    int const n = jacobian.getCol();
    double const* const to = f.begin();
    double const* const from = f0.begin();
    double* out = jacobian.begin() + j;
    for (int i = 0; i < jacobian.getRow(); ++i, out += n) *out = (to[i] - from[i]) / h;
}

}  // namespace

void CostFun::initCostFun(unsigned int const& nbEquations, unsigned int const& nbVariables)
{
    require(nbEquations != 0, "Number of equations should not be null");

    Vector const residuals(nbEquations);
    _jacValue = Matrix(nbEquations, nbVariables);
    _funValue = residuals;
    _isInit = true;
}

void CostFun::requireInit() const
{
    require(_isInit, "Call init before use");
}

unsigned int CostFun::getNbEquations() const
{
    requireInit();
    return _jacValue.getNbRow();
}

unsigned int CostFun::getNbVariables() const
{
    requireInit();
    return _jacValue.getNbCol();
}

void CostFun::requireVariables(Vector const& x) const
{
    require(x.size() == getNbVariables(), "Invalid parameter size");
}

Vector const& CostFun::evaluateFunValue(Vector const& params)
{
    unsigned int const m = _jacValue.getNbRow();
    if (_funValue.size() == m)
        _funValue.zeroed();
    else  // left behind by a call that failed
        _funValue = Vector(m);

    computeFunValue(params);
    require(_funValue.size() == m, "computeFunValue must keep the size of _funValue");
    return _funValue;
}

Matrix const& CostFun::evaluateAnaJacValue(Vector const& params)
{
    int const m = _jacValue.getRow();
    int const n = _jacValue.getCol();
    _jacValue.zeroed();

    computeAnaJacValue(params);
    if (_jacValue.getRow() != m || _jacValue.getCol() != n) {
        _jacValue = Matrix(m, n);
        measuremath::fail("computeAnaJacValue must keep the size of _jacValue");
    }
    return _jacValue;
}

Vector const& CostFun::getFunValue(Vector const& x)
{
    requireVariables(x);
    return evaluateFunValue(x);
}

Matrix const& CostFun::getJacValue(Vector const& x)
{
    requireVariables(x);
    if (_anaDer) return evaluateAnaJacValue(x);
    computeNumJacValue(x);
    return _jacValue;
}

void CostFun::computeAnaJacValue(Vector const&)
{
    measuremath::fail("Not yet implemented");
}

void CostFun::computeNumJacValue(Vector const& x)
{
    unsigned int const m = _jacValue.getNbRow();
    _steppedParams.init(x);
    _baseFunValue.init(getFunValue(_steppedParams));
    require(_baseFunValue.size() == m, Vector::badDim);

    for (int j = 0; j < _jacValue.getCol(); ++j) {
        double const h = forwardStep(_steppedParams[j]);
        _steppedParams[j] += h;
        Vector const& f = getFunValue(_steppedParams);
        require(f.size() == m, Vector::badDim);
        setDifferenceColumn(_jacValue, j, f, _baseFunValue, h);
        _steppedParams[j] -= h;
    }
}

double CostFun::getRMS(Vector const& x)
{
    requireInit();
    return computeRMS(x);
}

double CostFun::getSEUW(Vector const& x)
{
    requireInit();
    return computeSEUW(x);
}

double CostFun::computeRMS(Vector const& x)
{
    Vector const& r = getFunValue(x);
    return std::sqrt(r.dot(r) / getNbEquations());
}

double CostFun::computeSEUW(Vector const& x)
{
    unsigned int const m = getNbEquations();
    unsigned int const n = getNbVariables();
    if (m <= n) return -1.0;
    Vector const& r = getFunValue(x);
    return std::sqrt(r.dot(r) / (m - n));
}
