#pragma once

#include "math/CostFun.h"
#include "math/Powell.h"
#include "math/Vector.h"
#include "support/Dual.h"

#include <vector>

/// A problem of J. J. Moré, B. S. Garbow, K. E. Hillstrom, Testing Unconstrained Optimization
/// Software, ACM Transactions on Mathematical Software 7 (1981), with their starts and minima.
struct MghProblem {
    char const* name;
    int m;
    Vector start;
    double minimum;  // of the sum of squares, six digits
    void (*function)(double const* x, double* f, int n);
    void (*dualFunction)(Dual const* x, Dual* f, int n);
    NumPowell::Function system;
    AnalyticPowell::Function systemWithJacobian;
};

/// For least squares: m >= n.
std::vector<MghProblem> mghLeastSquares();

/// Systems: m = n, with a minimum of 0.
std::vector<MghProblem> mghSystems();

/// Residuals of a problem, with exact derivatives.
class MghCostFun : public CostFun {
public:
    explicit MghCostFun(MghProblem const& problem);

protected:
    void computeFunValue(Vector const& params) override;
    void computeAnaJacValue(Vector const& params) override;

private:
    MghProblem _problem;
};
