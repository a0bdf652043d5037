#pragma once

#include "math/CostFun.h"
#include "math/Powell.h"
#include "math/Vector.h"
#include "support/Dual.h"

#include <functional>
#include <string>
#include <vector>

/// Residuals with a published minimum of their sum of squares.
struct Problem {
    std::string name;
    int m;
    std::vector<Vector> starts;
    double sumOfSquares;
    std::function<void(Dual const* x, Dual* residuals)> function;

    Vector params = {};      ///< NIST only: certified, 11 digits.
    Vector deviations = {};  ///< NIST only: certified standard deviations of the parameters.

    NumPowell::Function system = nullptr;  ///< Systems only.
    AnalyticPowell::Function systemWithJacobian = nullptr;
};

/// The 27 non-linear regression problems of the NIST Statistical Reference Datasets, from lower to
/// higher difficulty, each with two starts.
std::vector<Problem> const& nistProblems();
Problem const& nistProblem(std::string const& name);

/// Problems of J. J. Moré, B. S. Garbow, K. E. Hillstrom, Testing Unconstrained Optimization
/// Software, ACM Transactions on Mathematical Software 7 (1981), with m = n.
std::vector<Problem> mghSystems();

/// Residuals of a problem, with exact derivatives.
class ProblemCostFun : public CostFun {
public:
    explicit ProblemCostFun(Problem const& problem);

protected:
    void computeFunValue(Vector const& params) override;
    void computeAnaJacValue(Vector const& params) override;

private:
    Problem _problem;
};

/// Number of correct digits, the smallest over the elements: -log10 of the relative error, from 0 to
/// the 11 that are certified.
double correctDigits(Vector const& actual, Vector const& certified);
