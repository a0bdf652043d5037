#pragma once

/// @file
/// Systems of n equations in n unknowns, f(x) = 0, by Powell's hybrid method (M. J. D. Powell, A
/// hybrid method for nonlinear equations, in Numerical Methods for Nonlinear Algebraic Equations,
/// 1970) as MINPACK has it.
///
/// The user's function has MINPACK's own calling form and receives no object: state that it needs is
/// the caller's business. What it throws comes out of `compute`, with the start point kept.

#include "math/Export.h"
#include "math/Vector.h"

#include <vector>

/// Base of the two solvers: start, solution, tolerance and what MINPACK reports.
///
/// No result is tested: whether a solve succeeded is told by `getInfo` and `getRmsAfter`.
class MEASUREMATH_API Powell {
public:
    /// n = 0.
    Powell() = default;

    /// @throws MathError `memError` when the workspace, about 1.5 n² doubles, cannot be had; "Invalid
    ///         array size" for a negative n.
    explicit Powell(int n);

    Powell(Powell const&) = default;             ///< Copies the other.
    Powell& operator=(Powell const&) = default;  ///< Takes over the contents of the other.
    virtual ~Powell() = default;

    /// Starts over with n unknowns: start point 0, no evaluations, default tolerance.
    /// @throws MathError as the constructor does; nothing has changed then.
    virtual void initPowell(int n);

    /// Solves from the start point and replaces it by the solution, so that a second call goes on.
    /// The function is called once more at the start and at the solution, with iflag 0, for the norms.
    /// @throws MathError "User function is not defined (setFunction())".
    virtual void compute() = 0;

    /// Sets the start point, which must have n elements: that is not checked. Shares its storage.
    void setParams(Vector const& params) { _params = params; }

    /// Start point, then solution.
    Vector const& getParams() const { return _params; }

    /// Relative tolerance between two iterates; 2^-26 by default, not checked. A negative one makes
    /// `compute` end at once with info 0.
    void setMaxNormValue(double tolerance) { _maxNormValue = tolerance; }

    /// MINPACK's code: 0 improper input, 1 converged, 2 too many evaluations (200 (n + 1), or 100 (n
    /// + 1) with a Jacobian), 3 tolerance too small, 4 no good progress, negative: the value that the
    /// user's function gave to iflag to stop.
    int getInfo() const { return _info; }

    /// Number of evaluations by MINPACK, the two for the norms not among them. Stays 0 in
    /// AnalyticPowell.
    int getIterationNb() const { return _nbIter; }

    /// Euclidean norm |f|, not a mean in spite of the name, at the start and at the solution.
    double getRmsBefore() const { return _rmsBefore; }
    double getRmsAfter() const { return _rmsAfter; }  ///< @copydoc getRmsBefore

protected:
    int _n = 0;                               ///< Number of unknowns.
    Vector _params;                           ///< The start, then the solution.
    double _maxNormValue = defaultTolerance;  ///< Relative tolerance on x.
    int _nbIter = 0;                          ///< Evaluations so far.
    double _rmsBefore = 0.0;                  ///< Norm of f at the start.
    double _rmsAfter = 0.0;                   ///< Norm of f at the solution.
    std::vector<double> _work;                ///< `_lwa` elements.
    std::vector<double> _fvec;                ///< Values of the n equations.
    int _lwa = 0;                             ///< Length of the work array.
    int _info = 0;                            ///< MINPACK's exit code.
    int _iflag = 0;  ///< What the function gets in the two evaluations for the norms.

    /// `compute`, given how to evaluate at x and how to run MINPACK on x.
    template <class Evaluate, class Solve>
    void solve(Evaluate evaluate, Solve runMinpack);

private:
    static constexpr double defaultTolerance = 1.4901161193847656e-08;  // 2^-26
};

/// Powell's method with a Jacobian by forward differences, 'hybrd' of MINPACK.
class MEASUREMATH_API NumPowell : public Powell {
public:
    /// Writes the values of the n equations at x to fvec; a negative iflag stops the solve.
    using Function = void (*)(int* n, double* x, double* fvec, int* iflag);

    NumPowell() = default;

    /// @throws MathError as for Powell.
    explicit NumPowell(int n, Function function = nullptr) : Powell(n), _function(function) {}

    void setFunction(Function function) { _function = function; }  ///< Sets the function.

    void compute() override;

private:
    Function _function = nullptr;
};

/// Powell's method with a Jacobian from the user, 'hybrj' of MINPACK.
class MEASUREMATH_API AnalyticPowell : public Powell {
public:
    /// Writes the values of the n equations at x to fvec when iflag is 1, or 0 as in the two
    /// evaluations for the norms, and their Jacobian to fjac when it is 2, column after column:
    /// df_i / dx_j at fjac[i + j * ldfjac]. A negative iflag stops the solve.
    using Function = void (*)(int* n, double* x, double* fvec, double* fjac, int* ldfjac,
                              int* iflag);

    AnalyticPowell() = default;

    /// @throws MathError as for Powell.
    explicit AnalyticPowell(int n, Function function = nullptr);

    void initPowell(int n) override;

    void setFunction(Function function) { _function = function; }  ///< Sets the function.

    void compute() override;

private:
    Function _function = nullptr;
    std::vector<double> _fjac;  // n × n, column after column
};
