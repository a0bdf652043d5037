#include "math/LMMinPack.h"

#include "math/MathError.h"
#include "math/internal/Log.h"
#include "math/internal/Minpack.h"
#include "math/internal/Transpose.h"

#include <log4cplus/loglevel.h>

#include <algorithm>
#include <climits>
#include <iterator>

namespace minpack = measuremath::minpack;
using measuremath::require;

void LMMinPack::setInitialStepBound(double initialStepBound)
{
    require(initialStepBound > 0.0, "Invalid initial step bound, must be > 0");

    _initialStepBound = initialStepBound;
    resetOptimFlag();
}

void LMMinPack::solveSystem()
{
    CostFun& costFun = *_costFun;
    int const m = static_cast<int>(costFun.getNbEquations());
    int const n = static_cast<int>(costFun.getNbVariables());
    allocate(m, n);
    int const info = minimise(costFun, m, n);
    computeCov(info, m, n);

    if (_continue) {
        interpretOutputFlag(info);
    } else {
        _endFlag = UserEnd;
        _endReason = "User requests end of algorithm";
    }
}

void LMMinPack::allocate(int m, int n)
{
    long long const workSize = (m + 5LL) * n + m;  // more than lmder needs; x goes behind its part
    if (_work.getSize() != workSize) _work = Vector(workSize);
    if (_fvec.getSize() != m) _fvec = Vector(m);
    if (_fjac.getRow() != n || _fjac.getCol() != m) _fjac = Matrix(n, m);
    if (_ipvt.getSize() != n) _ipvt = TVector<int>(n);
}

// MINPACK works on an x of its own: callbacks may hold copies of the vector of the solver, which
// share its storage.
int LMMinPack::minimise(CostFun& costFun, int m, int n)
{
    double* const work = _work.begin();
    double* const x = work + minpack::lmderWorkSize(m, n);
    Vector const& start = _vecSol;
    std::copy(start.begin(), start.end(), x);

    auto const evaluate = [&](int, int, double const* at, double* fvec, double* fjac, int,
                              int iflag) { return anaCostFun(costFun, at, fvec, fjac, iflag); };
    int const maxfev = static_cast<int>(std::min<unsigned int>(_nbMaxIter, INT_MAX));
    int const info =
        minpack::guarded(minpack::lmder, evaluate, m, n, x, _fvec.begin(), _fjac.begin(),
                         _tolerance, _initialStepBound, maxfev, _ipvt.begin(), work);
    _vecSol.init(x, n);
    return info;
}

int LMMinPack::anaCostFun(CostFun& costFun, double const* x, double* fvec, double* fjac, int iflag)
{
    if (!_continue) return -1;
    _params.init(x, _ipvt.size());
    if (iflag == 1)
        evaluateResiduals(costFun, fvec);
    else
        iterate(costFun, fjac);
    return 0;
}

void LMMinPack::evaluateResiduals(CostFun& costFun, double* fvec)
{
    Vector const& residuals = costFun.getFunValue(_params);
    require(residuals.size() == _fvec.size(), "Cost function gives a wrong number of residuals");
    std::copy(residuals.begin(), residuals.end(), fvec);
}

void LMMinPack::iterate(CostFun& costFun, double* fjac)
{
    int const m = _fjac.getCol();
    int const n = _fjac.getRow();
    Matrix const& jacobian = costFun.getJacValue(_params);
    require(jacobian.getRow() == m && jacobian.getCol() == n,
            "Cost function gives a Jacobian of wrong size");
    measuremath::transpose(jacobian.begin(), m, n, n, fjac);

    ++_nbIter;
    _vecSol.init(_params);
    _curRMS = costFun.getRMS(_vecSol);
    measuremath::log(log4cplus::INFO_LOG_LEVEL, "Iteration number", _nbIter, " Rms :", _curRMS);
    if (_callBackFcn != nullptr) _continue = _callBackFcn(*this);
}

void LMMinPack::computeCov(int info, int m, int n)
{
    if (info == 0) {  // MINPACK has set neither the Jacobian nor the pivots
        _cov = Matrix(n, n);
        return;
    }
    minpack::covar(n, _fjac.begin(), m, _ipvt.begin(), _tolerance, _work.begin());
    _cov = _fjac(0, 0, n, n);
}

void LMMinPack::interpretOutputFlag(int info)
{
    struct Ending {
        EndFlag flag;
        char const* reason;
    };
    static constexpr Ending nullResiduals = {NormalEnd, "Null residuals on last iteration"};
    static constexpr Ending unknown = {ErrorEnd, "Algorithm ended for an unknown reason"};
    static constexpr Ending endings[] = {
        {ErrorEnd, "Improper input parameters"},
        {NormalEnd,
         "Algorithm estimates that the relative error in the sum of squares is at most tol"},
        {NormalEnd,
         "Algorithm estimates that the relative error between x and the solution is at most tol"},
        {NormalEnd,
         "Algorithm estimates that the relative error in the sum of squares and between x and the "
         "solution is at most tol"},
        {ErrorEnd, "Fvec is orthogonal to the columns of the jacobian to machine precision"},
        {WarningEnd, "Number of calls to fcn has reached or exceeded max number of iterations"},
        {WarningEnd, "Tol is too small. no further reduction in the sum of squares is possible"},
        {WarningEnd,
         "Tol is too small. no further improvement in the approximate solution x is possible"},
    };
    bool const isNull = info == 4 && _fvec == Vector(_fvec.size());
    bool const isKnown = info >= 0 && info < static_cast<int>(std::size(endings));
    Ending const& ending = isNull ? nullResiduals : isKnown ? endings[info] : unknown;
    _endFlag = ending.flag;
    _endReason = ending.reason;
}
