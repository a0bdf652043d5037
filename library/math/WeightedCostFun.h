#pragma once

#include "math/CostFun.h"
#include "math/Export.h"
#include "math/Matrix.h"
#include "math/Vector.h"

#include <vector>

/// A residual function with a weight for each equation and parameters that may be held fixed.
///
/// A solver sees the estimated parameters only: they are the n variables of CostFun. The hooks see
/// all N parameters; `computeAnaJacValue` still fills one column for each estimated parameter, in
/// the order of the parameters.
///
/// A solver minimises |w · r|²: a weight multiplies its residual, not its square, so that 1/σ is
/// the weight of a residual with standard deviation σ.
///
/// States: constructed → `initCostFun` (all parameters estimated, all weights 1) → optionally
/// `setEstimFlags`, then `setFixedParams` when a flag is false → evaluations. Until the values of
/// fixed parameters are given, every evaluation throws MathError "Init fixed params before use".
class MEASUREMATH_API WeightedCostFun : public CostFun {
public:
    WeightedCostFun() = default;
    WeightedCostFun(WeightedCostFun const&) = default;  ///< Copies the other.
    /// Takes over the contents of the other.
    WeightedCostFun& operator=(WeightedCostFun const&) = default;
    ~WeightedCostFun() override = default;

    /// Weighted residuals at the n estimated parameters x: element i is w_i · r_i.
    Vector const& getFunValue(Vector const& x) override;

    /// Weighted Jacobian at x, m × n: row i of the Jacobian times w_i.
    ///
    /// With numeric derivatives the weights enter twice, as w_i²: the differences are those of the
    /// weighted residuals already. Kept for the results that build on it. With weights other than 1
    /// supply analytic derivatives.
    Matrix const& getJacValue(Vector const& x) override;

    /// Which parameters are estimated (true) or fixed, one flag for each. The values of fixed
    /// parameters must be given afterwards.
    /// @throws MathError "Invalid estim flag vector size" unless there are N flags.
    virtual void setEstimFlags(std::vector<bool> const& flags);
    std::vector<bool> const& getEstimFlags() const;  ///< @copydoc setEstimFlags

    /// Flag of parameter i. @throws MathError "Invalid estim flag idx" unless i < N.
    bool getEstimFlag(unsigned int i) const;

    /// Values of the fixed parameters, in the order of the parameters. Shares the storage of v.
    /// @throws MathError "Invalid fixed Vector size" unless v has N - n elements.
    void setFixedParams(Vector const& v);

    /// @throws MathError "Call setFixedParams before use" while values are missing.
    Vector const& getFixedParams() const;

    /// One weight for each equation. Shares the storage of w.
    /// @throws MathError "Invalid weights vector size" unless w has m elements.
    void setWeights(Vector const& w);
    Vector const& getWeights() const;  ///< @copydoc setWeights

    unsigned int getNbTotVariables() const;    ///< N, estimated and fixed.
    unsigned int getNbFixedVariables() const;  ///< N - n

    /// Residuals without weights, at the n estimated parameters x.
    /// @throws MathError "Invalid parameter size" unless x has n elements.
    Vector const& getNonWeightedResiduals(Vector const& x);

    /// Spreads the n × n covariance of the estimated parameters over all N: rows and columns of
    /// fixed parameters are 0. That estimCov has n columns is not checked.
    /// @throws MathError "Invalid covariance matrix size" unless allCov is N × N; "Invalid estimated
    ///         parameters covariance matrix size" unless estimCov has n rows.
    void getAllParamsCov(Matrix const& estimCov, Matrix& allCov) const;

protected:
    /// As in CostFun for N = nbVariables parameters, all of them estimated, with weights of 1.
    void initCostFun(unsigned int const& nbEquations, unsigned int const& nbVariables) override;

    /// Root mean square of the residuals without weights. The standard error of unit weight is that
    /// of CostFun: with weights, and with the n estimated parameters.
    double computeRMS(Vector const& x) override;

    /// Merges the n estimated parameters and the fixed ones into all N.
    /// @throws MathError "Invalid params vector size" unless `all` has N elements; "Invalid estim
    ///         params vector size" unless `estim` has n; "Init fixed params before use".
    void getAllParams(Vector const& estim, Vector& all) const;

    unsigned int _nbTotVariables = 0;  ///< N
    std::vector<bool> _estimFlags;     ///< N flags; true: estimated.
    Vector _fixedParams;               ///< N - n values.
    bool _fixedParamsSet = true;       ///< No value is missing.
    Vector _weights;                   ///< m weights.
    Vector _weightedFunValue;          ///< Weighted residuals of the last evaluation.
    Matrix _weightedJacValue;          ///< Weighted Jacobian of the last evaluation.

private:
    Vector allParams(Vector const& x);

    Vector _allParams;  // kept between evaluations, so that none allocates
};
