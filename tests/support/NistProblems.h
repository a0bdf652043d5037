#pragma once

#include "math/CostFun.h"
#include "math/Vector.h"
#include "support/Dual.h"

#include <array>
#include <string>
#include <vector>

/// A non-linear regression problem of the NIST Statistical Reference Datasets, with its certified
/// results: 11 digits.
struct NistProblem {
    std::string name;
    double (*model)(double const* b, double const* x);
    Dual (*dualModel)(Dual const* b, double const* x);
    int nbPredictors;  // values in x for each response
    std::array<Vector, 2> starts;
    Vector params;
    Vector deviations;
    double sumOfSquares;
    std::vector<double> x;
    std::vector<double> y;
};

/// All 27 of them, from lower to higher difficulty.
std::vector<NistProblem> const& nistProblems();

/// Residuals of a problem, with exact derivatives.
class NistCostFun : public CostFun {
public:
    explicit NistCostFun(NistProblem const& problem);

protected:
    void computeFunValue(Vector const& params) override;
    void computeAnaJacValue(Vector const& params) override;

private:
    double const* predictor(int i) const
    {
        return &_problem.x[std::size_t(i * _problem.nbPredictors)];
    }

    NistProblem const& _problem;
};

/// Number of correct digits, the smallest over the elements: -log10 of the relative error, from 0 to
/// the 11 that are certified.
double correctDigits(Vector const& actual, Vector const& certified);
