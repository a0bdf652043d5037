#pragma once

#include "math/CostFun.h"
#include "math/Estimator.h"
#include "math/LMSolver.h"

#include <memory>

/// A model whose fit is a non-linear least-squares problem: the base of models that a
/// Levenberg-Marquardt solver fits to the data.
///
/// A derived class gives `init` its cost function, loads the data to fit into it in
/// `prepareCostFun`, and computes the residuals of the whole collection. Every fit starts from the
/// same initial parameters. `CircleEstimator`, `SphereEstimator` and `CylinderEstimator` are such
/// models, which find their own start.
class MEASUREMATH_API NLEstimator : public Estimator {
public:
    NLEstimator();
    ~NLEstimator() override;

    /// Where every fit starts. @throws MathError "Invalid initParams vector size"
    void setInitParams(Vector const& v);

    /// Takes over `solver` in place of an `LMMinPack` with its defaults, and deletes the one
    /// before; the solver held already is left alone.
    /// @throws MathError "Invalid LMSolver, should not be null"
    void setLMSolver(LMSolver* solver);

    /// The solver of the last fit. @throws MathError "Call estim before use"
    LMSolver const& getLMSolver() const;

    /// The cost function of the last fit. @throws MathError "Call estim before use"
    CostFun const& getCostFun() const;

protected:
    /// As the base does; takes over `costFun` and deletes the one before, unless it is the same.
    /// @throws MathError as the base does, when `costFun` stays the caller's; "Invalid CostFun,
    ///         should not be null".
    void init(unsigned int nbParams, unsigned int nbMinData, CostFun* costFun);

    /// Solves from the initial parameters. The covariance is SEUW² · (JᵀJ)⁻¹.
    /// @return false when the solver ends with its error flag.
    /// @throws MathError "Set initVecSol before use", and what the solver and the model throw.
    bool computeEstimation(std::vector<Vector> const& dataColl) override;

    /// The part of a fit after `prepareCostFun`: solves from `*_initParams`, and takes the solution
    /// and its covariance. For models that look at the prepared data to find their start.
    /// @return false when the solver ends with its error flag.
    bool solvePrepared();

    /// Loads `dataColl` into `*_costFun`, ready for a solver.
    virtual void prepareCostFun(std::vector<Vector> const& dataColl) = 0;

    std::unique_ptr<Vector> _initParams;  ///< Where every fit starts; empty at first.
    std::unique_ptr<CostFun> _costFun;    ///< Null until `init`.
    std::unique_ptr<LMSolver> _lmSolver;  ///< An `LMMinPack` at first.
};
