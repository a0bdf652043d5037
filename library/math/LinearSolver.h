#pragma once

#include "math/Export.h"
#include "math/Matrix.h"
#include "math/Vector.h"

#include <climits>

/// Solver of an overdetermined linear system A · x = b, or A · x = 0 with |x| = 1, that also tells
/// how good the solution is. A has m equations in n variables, m >= n.
///
/// Constructed → `solve` → results, which the next `solve` replaces as a whole. Every getter throws
/// MathError "Call solve before use" until a first `solve` has succeeded. A `solve` that throws
/// leaves the results unusable, though the getters answer again if an earlier one had succeeded.
///
/// A derived class provides the two `solveSystem`: they find `_vecSol` of n zeros, `_cov` the
/// n × n identity, `_matCond` -1 and `_matRank` UINT_MAX, and must leave the solution, its
/// covariance for errors of unit variance, the condition number and the rank there.
class MEASUREMATH_API LinearSolver {
public:
    LinearSolver();
    virtual ~LinearSolver();
    LinearSolver(LinearSolver const&) = delete;
    LinearSolver& operator=(LinearSolver const&) = delete;

    /// Solves A · x = b in the sense of least squares. The residuals are A · x - b.
    /// @throws MathError "Uncompatible matrix/vector size" unless b has one element a row of A;
    ///         "Invalid matrix size, need more row than col" when m < n; what `solveSystem` throws.
    void solve(Matrix const& A, Vector const& b);

    /// Solves A · x = 0 for the unit vector x with the smallest |A · x|, sign free. The residuals
    /// are A · x.
    /// @throws MathError "Invalid matrix size, need more row than col" when m < n; what
    ///         `solveSystem` throws.
    void solve(Matrix const& A);

    Vector const& getVecSol() const;     ///< The solution, n elements.
    Vector const& getResiduals() const;  ///< The residuals, m elements.

    /// Root mean square of the residuals: √(Σ r² / m).
    double getRMS() const;

    /// Standard error of unit weight: √(Σ r² / (m - n)); -1 when m = n.
    double getSEUW() const;

    /// Covariance of the solution, n × n: (Aᵀ · A)⁻¹ · SEUW². With m = n there is no estimate of
    /// the errors, and the covariance is that for unit variance.
    Matrix const& getCov() const;

    double getMatCond() const;            ///< Condition number of A; -1 when its rank is below n.
    unsigned int getMatRank() const;      ///< Numerical rank of A.
    unsigned int getNbEquations() const;  ///< m.
    unsigned int getNbVariables() const;  ///< n.

protected:
    /// Solve as the class comment says.
    virtual void solveSystem(Matrix const& A) = 0;
    virtual void solveSystem(Matrix const& A, Vector const& b) = 0;  ///< Solves A·x = b.

    /// Whether a `solve` has succeeded.
    bool getBoolSolveDone() const { return _solveDone; }

    Vector* _vecSol;                   ///< The solution; owned, as are the other two objects.
    Matrix* _cov;                      ///< Its covariance.
    double _matCond = -1.0;            ///< Condition number of A.
    unsigned int _matRank = UINT_MAX;  ///< Numerical rank of A.
    bool _solveDone = false;           ///< Set by the first `solve` that succeeds.
    Vector* _residuals;                ///< The residuals.
    double _rms = 0.0;                 ///< Their root mean square.
    double _seuw = -1.0;               ///< Standard error of unit weight.

private:
    void init(Matrix const& A);
    void computeStats(Matrix const& A);
    template <class Result>
    Result const& whenSolved(Result const& result) const;
};
