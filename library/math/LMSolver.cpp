#include "math/LMSolver.h"

#include "math/MathError.h"
#include "math/internal/Constants.h"
#include "math/internal/Log.h"

#include <log4cplus/loglevel.h>

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <typeinfo>

using measuremath::require;

namespace {

constexpr char const* costFunFirst = "Set costFun before use";
constexpr char const* solveFirst = "Call solve before use";
constexpr char const* onlyWhileRunning =
    "This method should only be called during optimisation process";

char const* endFlagText(LMSolver::EndFlag flag)
{
    switch (flag) {
        case LMSolver::NormalEnd:
            return "Normal End";
        case LMSolver::WarningEnd:
            return "Warning";
        case LMSolver::ErrorEnd:
            return "Error";
        case LMSolver::UserEnd:
            return "User end";
    }
    return "";
}

std::string className(LMSolver const& solver)
{
    char const* const mangled = typeid(solver).name();
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> const name(
        abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
    return name ? name.get() : mangled;
}

}  // namespace

LMSolver::LMSolver() : _tolerance(measuremath::sqrtMachineEpsilon) {}

void LMSolver::setCostFun(CostFun* costFun)
{
    if (!_nbMaxIterSet) {
        require(costFun != nullptr, costFunFirst);
        _nbMaxIter = (costFun->getNbVariables() + 1) * 100;
    }
    _costFun = costFun;
    _optimFlag = NotReady;
}

void LMSolver::setInitVecSol(Vector const& x)
{
    require(x.size() == getNbVariables(), "Invalid params vector size");

    _cov = Matrix(x.size(), x.size(), Matrix::IDENTITY);
    _vecSol = x;
    _optimFlag = Ready;
}

void LMSolver::setTolerance(double tolerance)
{
    require(tolerance >= 0.0, "Invalid tolerance value, should be >=0");

    _tolerance = tolerance;
    resetOptimFlag();
}

void LMSolver::setNbMaxIter(unsigned int const& nbMaxIter)
{
    _nbMaxIter = nbMaxIter;
    _nbMaxIterSet = true;
    resetOptimFlag();
}

unsigned int LMSolver::getNbMaxIter() const
{
    require(_costFun != nullptr || _nbMaxIterSet, costFunFirst);
    return _nbMaxIter;
}

void* LMSolver::getCallBackArg() const
{
    require(_optimFlag == Running, "Can't acces CallBackArg outside of callback function");
    return _callBackArg;
}

Vector const& LMSolver::getCurVec() const
{
    require(_optimFlag == Running, onlyWhileRunning);
    return _vecSol;
}

double LMSolver::getCurRMS() const
{
    require(_optimFlag == Running, onlyWhileRunning);
    return _curRMS;
}

unsigned int LMSolver::getNbVariables() const
{
    require(_costFun != nullptr, costFunFirst);
    return _costFun->getNbVariables();
}

unsigned int LMSolver::getNbEquations() const
{
    require(_costFun != nullptr, costFunFirst);
    return _costFun->getNbEquations();
}

void LMSolver::requireSolved() const
{
    require(_optimFlag == Solved, solveFirst);
}

unsigned int LMSolver::getNbIter() const
{
    require(_optimFlag == Running || _optimFlag == Solved, solveFirst);
    return _nbIter;
}

void LMSolver::resetOptimFlag()
{
    if (_optimFlag == Solved) _optimFlag = Ready;
}

void LMSolver::solve()
{
    require(_optimFlag == Ready, "Set costFun and initVecSol before use");
    require(_vecSol.size() == getNbVariables(), "Invalid params vector size");

    measuremath::log(log4cplus::INFO_LOG_LEVEL, "Starting optimisation process...");
    Vector const start = _vecSol;
    _optimFlag = Running;
    try {
        run(*_costFun);
    } catch (...) {
        _vecSol = start;
        _optimFlag = Ready;
        throw;
    }
    _optimFlag = Solved;
    measuremath::log(log4cplus::INFO_LOG_LEVEL, "End of optimisation process reached\n");
    logInfo();
}

void LMSolver::run(CostFun& costFun)
{
    _continue = true;
    _endFlag = ErrorEnd;
    _endReason = "Unknown end reason";
    _curRMS = -1.0;
    _nbIter = 0;
    _rmsBefore = costFun.getRMS(_vecSol);
    _seuwBefore = costFun.getSEUW(_vecSol);

    solveSystem();

    _rmsAfter = costFun.getRMS(_vecSol);
    _seuwAfter = costFun.getSEUW(_vecSol);
    jacStats();
}

void LMSolver::jacStats()
{
    Vector const variances = _cov.getDiagVector();
    double const largest =
        variances.empty() ? 0.0 : *std::max_element(variances.begin(), variances.end());
    // Where all are 0 the quotient is no number, and none counts.
    auto const counts = [=](double d) { return d / largest > measuremath::machineEpsilon; };
    auto const rank = std::count_if(variances.begin(), variances.end(), counts);
    _jacRank = static_cast<unsigned int>(rank);
    _jacCond = -1.0;
}

void LMSolver::logInfo() const
{
    measuremath::log(log4cplus::INFO_LOG_LEVEL,
                     "Minimisation results\n"
                     "---------------------------\n"
                     "Optimisation algorithm : \t\t",
                     className(*this),
                     "\n"
                     "Number of variables : \t\t\t",
                     getNbVariables(),
                     "\n"
                     "Number of equations : \t\t\t",
                     getNbEquations(),
                     "\n"
                     "Number of iteration (/ max) : \t\t",
                     _nbIter, " (/", _nbMaxIter,
                     ")\n"
                     "(RMS;SEUW) initial : \t\t\t(",
                     _rmsBefore, ";", _seuwBefore,
                     ")\n"
                     "(RMS;SEUW) final : \t\t\t(",
                     _rmsAfter, ";", _seuwAfter,
                     ")\n"
                     "Jacobian rank at convergence : \t\t",
                     _jacRank, " (/", getNbVariables(),
                     ")\n"
                     "Cause of termination : \t\t\t",
                     _endReason,
                     "\n"
                     "Output flag : \t\t\t\t",
                     endFlagText(_endFlag), "\n");
}
