#pragma once

/// @file
/// The residuals that a least-squares solver minimises.
///
///   x    n variables, the parameters that the solver looks for
///   r    m equations, the residuals r(x)
///   J    m × n Jacobian, J(i, j) = dr_i / dx_j
///
/// A solver minimises |r(x)|².

#include "math/Export.h"
#include "math/Matrix.h"
#include "math/Vector.h"

/// A residual function, to derive from.
///
/// A derived class calls `initCostFun` (in its constructor, say) and overrides `computeFunValue`,
/// and `computeAnaJacValue` unless it asks for numeric derivatives with `setBoolAnaDer(false)`.
/// The hooks fill `_funValue` and `_jacValue`, which they find sized and zero:
///
///     class Exponential : public CostFun {
///     public:
///         Exponential(Vector const& t, Vector const& y) : _t(t), _y(y) { initCostFun(t.size(), 2); }
///
///     protected:
///         void computeFunValue(Vector const& params) override
///         {
///             double* const r = _funValue.begin();
///             for (int i = 0; i < _t.getSize(); ++i)
///                 r[i] = params[0] * std::exp(params[1] * _t[i]) - _y[i];
///         }
///         ...
///     };
///
/// An object keeps its last results, so it serves one caller at a time. Evaluations allocate
/// nothing of their own, as long as the caller keeps no copy of a returned value: a copy shares
/// the storage, which the next evaluation then leaves to it.
///
/// Every function that needs the dimensions throws MathError "Call init before use" until
/// `initCostFun` has been called.
class MEASUREMATH_API CostFun {
public:
    /// Without dimensions, with analytic derivatives.
    CostFun() = default;
    CostFun(CostFun const&) = default;             ///< Copies the other.
    CostFun& operator=(CostFun const&) = default;  ///< Takes over the contents of the other.
    virtual ~CostFun() = default;

    /// Residuals at x. The reference is valid until the next evaluation.
    /// @throws MathError "Invalid parameter size" unless x has n elements; "computeFunValue must keep
    ///         the size of _funValue"; whatever `computeFunValue` throws.
    virtual Vector const& getFunValue(Vector const& x);

    /// Jacobian at x, analytic or numeric. The reference is valid until the next evaluation.
    /// @throws MathError "Invalid parameter size" unless x has n elements; "computeAnaJacValue must
    ///         keep the size of _jacValue"; whatever the hooks throw.
    virtual Matrix const& getJacValue(Vector const& x);

    /// Whether Jacobians come from `computeAnaJacValue` (the default) or from forward differences.
    void setBoolAnaDer(bool analytic) { _anaDer = analytic; }
    bool getBoolAnaDer() const { return _anaDer; }  ///< @copydoc setBoolAnaDer

    unsigned int getNbEquations() const;  ///< m
    unsigned int getNbVariables() const;  ///< n

    /// Root mean square √(|r|² / m) of the residuals at x, one evaluation.
    double getRMS(Vector const& x);

    /// Standard error of unit weight √(|r|² / (m - n)) at x, one evaluation; -1 when m <= n.
    double getSEUW(Vector const& x);

protected:
    /// Sets the dimensions; may be called again.
    /// @throws MathError "Number of equations should not be null"; "Invalid array size" when a
    ///         Jacobian of this size cannot be held.
    virtual void initCostFun(unsigned int const& nbEquations, unsigned int const& nbVariables);

    /// Writes the residuals at `params` into `_funValue`.
    virtual void computeFunValue(Vector const& params) = 0;

    /// Writes the Jacobian at `params` into `_jacValue`.
    /// @throws MathError "Not yet implemented" unless overridden.
    virtual void computeAnaJacValue(Vector const& params);

    /// What `getRMS` and `getSEUW` return.
    virtual double computeRMS(Vector const& x);
    virtual double computeSEUW(Vector const& x);  ///< @copydoc computeRMS

    /// Writes the Jacobian by forward differences of `getFunValue` into `_jacValue`: n + 1
    /// evaluations, with the step |x_j| · 2^-26, or 2^-26 where x_j is 0.
    /// @throws MathError "Bad vector dimensions" when `getFunValue` gives other than m residuals.
    void computeNumJacValue(Vector const& x);

    /// @throws MathError "Call init before use".
    void requireInit() const;

    /// @throws MathError "Call init before use", then "Invalid parameter size" unless x has n
    ///         elements.
    void requireVariables(Vector const& x) const;

    /// Calls `computeFunValue(params)` on zeroed residuals, with all that it may do wrong checked.
    Vector const& evaluateFunValue(Vector const& params);

    /// Calls `computeAnaJacValue(params)` on a zeroed Jacobian, checked likewise.
    Matrix const& evaluateAnaJacValue(Vector const& params);

    Vector _funValue;      ///< Residuals of the last evaluation, m elements.
    Matrix _jacValue;      ///< Jacobian of the last evaluation; its shape m × n is the dimensions.
    bool _anaDer = true;   ///< Analytic derivatives.
    bool _isInit = false;  ///< `initCostFun` has been called.

private:
    // Kept between evaluations, so that none allocates.
    Vector _steppedParams;
    Vector _baseFunValue;
};
