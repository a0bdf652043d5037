#pragma once

#include "math/CostFun.h"
#include "math/Export.h"
#include "math/Matrix.h"
#include "math/Vector.h"

#include <string>

/// Driver of a non-linear least-squares minimisation of a CostFun: settings, states, statistics and
/// report. LMMinPack is the solver; a derived class supplies `solveSystem`.
///
/// m, n, r and J are those of CostFun.h. States, and what moves between them:
///
///     not ready → setInitVecSol → ready → solve → (running) → solved
///
/// `setCostFun` goes back to not ready; a setting changed when solved goes back to ready, and the
/// next `solve` starts from the last solution. Results are given when solved only: MathError "Call
/// solve before use".
///
///     Exponential costFun(t, y);
///     LMMinPack solver;
///     solver.setCostFun(&costFun);
///     solver.setInitVecSol(Vector::of({1.0, -0.1}));
///     solver.solve();
///     Vector const& x = solver.getVecSol();
///
/// No result is an error: how a run ended is told by `getEndFlag` and `getEndReason`. Progress and a
/// report go to `g_MathLogger` at the information level. A solver holds no global state: any number
/// may run at once, each in one thread, and a solve inside the callback of another works.
class MEASUREMATH_API LMSolver {
public:
    /// Where a solver stands.
    enum OptimFlag {
        NotReady = 0,  ///< No cost function, or no initial vector since it was set.
        Ready = 1,     ///< `solve` may be called.
        Running = 2,   ///< Inside `solve`.
        Solved = 3     ///< Results may be read.
    };

    /// How a run ended.
    enum EndFlag {
        NormalEnd = 0,   ///< Converged.
        WarningEnd = 1,  ///< Stopped by the evaluation limit or a tolerance that is too small.
        ErrorEnd = 2,    ///< Improper input, or a start from which nothing improves.
        UserEnd = 3      ///< Stopped by the callback.
    };

    /// Called once for each iteration; false stops the run.
    using CallBackFcn = bool (*)(LMSolver const&);

    LMSolver();
    LMSolver(LMSolver const&) = default;             ///< Copies the other.
    LMSolver& operator=(LMSolver const&) = default;  ///< Takes over the contents of the other.
    virtual ~LMSolver() = default;

    /// Sets the function to minimise, which the caller keeps alive, and with it the default limit
    /// of evaluations, 100 · (n + 1), unless one was set. Call it before `setInitVecSol`, and again
    /// after a change of the function's dimensions.
    /// @throws MathError "Set costFun before use" for null while no limit was set; "Call init before
    ///         use" for a function without dimensions.
    void setCostFun(CostFun* costFun);
    CostFun* getCostFun() const { return _costFun; }  ///< The function, or null.

    /// Sets the start. Shares the storage of x, and does not change it.
    /// @throws MathError "Set costFun before use"; "Invalid params vector size" unless x has n
    ///         elements.
    void setInitVecSol(Vector const& x);

    /// Relative tolerance on |r|² and on x, and of the rank in the covariance; 2^-26 by default.
    /// The most accurate solution that rounding allows takes 1e-15.
    /// @throws MathError "Invalid tolerance value, should be >=0".
    void setTolerance(double tolerance);
    double getTolerance() const { return _tolerance; }  ///< @copydoc setTolerance

    /// Limit of residual evaluations. @throws MathError "Set costFun before use" from the getter,
    /// when neither a function nor a limit was set.
    void setNbMaxIter(unsigned int const& nbMaxIter);
    unsigned int getNbMaxIter() const;  ///< @copydoc setNbMaxIter

    /// Function called after each Jacobian, or null. It may read `getCurVec`, `getCurRMS`,
    /// `getNbIter` and `getCallBackArg`. What it throws comes out of `solve`.
    void setCallBackFcn(CallBackFcn callBackFcn) { _callBackFcn = callBackFcn; }

    /// Any pointer, for the callback.
    void setCallBackArg(void* callBackArg) { _callBackArg = callBackArg; }

    /// @throws MathError "Can't acces CallBackArg outside of callback function" unless running.
    void* getCallBackArg() const;

    /// The vector and the RMS of the current iteration.
    /// @throws MathError "This method should only be called during optimisation process" unless
    ///         running.
    Vector const& getCurVec() const;
    double getCurRMS() const;  ///< @copydoc getCurVec

    /// Dimensions of the cost function. @throws MathError "Set costFun before use".
    unsigned int getNbVariables() const;
    unsigned int getNbEquations() const;  ///< @copydoc getNbVariables

    /// Minimises |r(x)|² from the initial vector.
    ///
    /// Whatever is thrown by the cost function or the callback comes out unchanged; the solver is
    /// then ready again, with the same initial vector.
    /// @throws MathError "Set costFun and initVecSol before use" unless ready; "Invalid params
    ///         vector size" when the cost function has changed its n.
    void solve();

    /// Solution x. @throws MathError "Call solve before use" unless solved.
    Vector const& getVecSol() const { return whenSolved(_vecSol); }

    /// (JᵀJ)⁻¹ at the solution, n × n, for residuals of unit variance: times the square of
    /// `getSEUWAfter` it is the covariance of the solution. Rows and columns of variables beyond the
    /// rank are 0.
    Matrix const& getCov() const { return whenSolved(_cov); }

    std::string const& getEndReason() const { return whenSolved(_endReason); }  ///< In words.
    EndFlag getEndFlag() const { return whenSolved(_endFlag); }  ///< How the run ended.

    /// Number of elements on the diagonal of the covariance above 2^-52 of the largest.
    unsigned int getJacRank() const { return whenSolved(_jacRank); }
    /// Always -1: not computed.
    double getJacCond() const { return whenSolved(_jacCond); }

    /// @name RMS and standard error of unit weight (CostFun) at the start and at the solution
    /// @{
    double getRMSBefore() const { return whenSolved(_rmsBefore); }    ///< RMS at the start.
    double getSEUWBefore() const { return whenSolved(_seuwBefore); }  ///< SEUW at the start.
    double getRMSAfter() const { return whenSolved(_rmsAfter); }      ///< RMS at the solution.
    double getSEUWAfter() const { return whenSolved(_seuwAfter); }    ///< SEUW at the solution.
    /// @}

    /// Number of Jacobian evaluations so far. @throws MathError "Call solve before use" unless
    /// running or solved.
    unsigned int getNbIter() const;

protected:
    /// Minimises: moves `_vecSol` from the start to the solution and sets `_cov`, `_nbIter`,
    /// `_endReason` and `_endFlag`.
    virtual void solveSystem() = 0;

    /// Back to ready when solved, for a setting that has changed.
    void resetOptimFlag();
    OptimFlag getOptimFlag() const { return _optimFlag; }  ///< Where the solver stands.

    CostFun* _costFun = nullptr;         ///< Not owned.
    Vector _vecSol;                      ///< The start, the current vector, then the solution.
    Matrix _cov;                         ///< What `getCov` returns.
    unsigned int _nbIter = 0;            ///< Evaluations so far.
    double _jacCond = -1.0;              ///< What `getJacCond` returns.
    unsigned int _jacRank = 0;           ///< What `getJacRank` returns.
    std::string _endReason;              ///< What `getEndReason` returns.
    EndFlag _endFlag = ErrorEnd;         ///< What `getEndFlag` returns.
    double _curRMS = -1.0;               ///< RMS of the current iteration.
    CallBackFcn _callBackFcn = nullptr;  ///< The callback, or null.
    void* _callBackArg = nullptr;        ///< Not owned.
    bool _continue = true;               ///< Last answer of the callback.
    double _rmsBefore = 0.0;             ///< RMS at the start.
    double _seuwBefore = 0.0;            ///< SEUW at the start.
    double _rmsAfter = 0.0;              ///< RMS at the solution.
    double _seuwAfter = 0.0;             ///< SEUW at the solution.
    unsigned int _nbMaxIter = 0;         ///< Limit of evaluations.
    bool _nbMaxIterSet = false;          ///< The limit was set by the user.
    double _tolerance;                   ///< Relative tolerance.
    OptimFlag _optimFlag = NotReady;     ///< Where the solver stands.

private:
    template <class T>
    T const& whenSolved(T const& result) const
    {
        requireSolved();
        return result;
    }
    void requireSolved() const;
    void run(CostFun& costFun);
    void jacStats();
    void logInfo() const;
};
