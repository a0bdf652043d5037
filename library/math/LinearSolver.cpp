#include "math/LinearSolver.h"

#include "math/MathError.h"

#include <climits>
#include <cmath>
#include <memory>

using measuremath::require;

LinearSolver::LinearSolver()
{
    auto vecSol = std::make_unique<Vector>();
    auto cov = std::make_unique<Matrix>();
    _residuals = new Vector;
    _vecSol = vecSol.release();
    _cov = cov.release();
}

LinearSolver::~LinearSolver()
{
    delete _vecSol;
    delete _cov;
    delete _residuals;
}

void LinearSolver::solve(Matrix const& A, Vector const& b)
{
    require(b.getSize() == A.getRow(), "Uncompatible matrix/vector size");
    Matrix const system = A;  // A and b may be results of this solver, which it overwrites
    Vector const rhs = b;
    init(system);
    solveSystem(system, rhs);
    _solveDone = true;
    *_residuals = system * *_vecSol;
    *_residuals -= rhs;
    computeStats(system);
}

void LinearSolver::solve(Matrix const& A)
{
    Matrix const system = A;
    init(system);
    solveSystem(system);
    _solveDone = true;
    *_residuals = system * *_vecSol;
    computeStats(system);
}

void LinearSolver::init(Matrix const& A)
{
    require(A.getRow() >= A.getCol(), "Invalid matrix size, need more row than col");
    int const n = A.getCol();
    _matCond = -1.0;
    _matRank = UINT_MAX;
    *_vecSol = Vector(n);
    *_cov = Matrix(n, n, Matrix::IDENTITY);
}

void LinearSolver::computeStats(Matrix const& A)
{
    double const squares = _residuals->dot(*_residuals);
    int const m = A.getRow();
    int const n = A.getCol();
    _rms = std::sqrt(squares / m);
    _seuw = m > n ? std::sqrt(squares / (m - n)) : -1.0;
    *_cov *= _seuw * _seuw;  // with m = n this leaves the covariance for unit variance
}

template <class Result>
Result const& LinearSolver::whenSolved(Result const& result) const
{
    require(_solveDone, "Call solve before use");
    return result;
}

Vector const& LinearSolver::getVecSol() const
{
    return whenSolved(*_vecSol);
}
Vector const& LinearSolver::getResiduals() const
{
    return whenSolved(*_residuals);
}
double LinearSolver::getRMS() const
{
    return whenSolved(_rms);
}
double LinearSolver::getSEUW() const
{
    return whenSolved(_seuw);
}
Matrix const& LinearSolver::getCov() const
{
    return whenSolved(*_cov);
}
double LinearSolver::getMatCond() const
{
    return whenSolved(_matCond);
}
unsigned int LinearSolver::getMatRank() const
{
    return whenSolved(_matRank);
}
unsigned int LinearSolver::getNbEquations() const
{
    return whenSolved(*_residuals).size();
}
unsigned int LinearSolver::getNbVariables() const
{
    return whenSolved(*_vecSol).size();
}
