#pragma once

#include "math/CostFun.h"

#include <functional>

/// A cost function with its hooks as a test wants them. By default the residuals are zero and there
/// is no analytic Jacobian.
template <class Base = CostFun>
class Scripted : public Base {
public:
    std::function<void(Vector const& p, Vector& r)> fun = [](Vector const&, Vector&) {};
    std::function<void(Vector const& p, Matrix& J)> jac;

    using Base::initCostFun;

protected:
    void computeFunValue(Vector const& p) override { fun(p, this->_funValue); }
    void computeAnaJacValue(Vector const& p) override
    {
        if (!jac) return Base::computeAnaJacValue(p);
        jac(p, this->_jacValue);
    }
};
