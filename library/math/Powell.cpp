#include "math/Powell.h"

#include "math/MathError.h"
#include "math/internal/Minpack.h"

#include <cassert>
#include <climits>
#include <cstddef>
#include <new>

namespace minpack = measuremath::minpack;
using measuremath::require;

namespace {

constexpr char const* noFunction = "User function is not defined (setFunction())";

// MINPACK counts its workspace in int.
std::vector<double> allocate(long long count)
{
    require(count <= INT_MAX, memError);
    try {
        return std::vector<double>(static_cast<std::size_t>(count));
    } catch (std::bad_alloc const&) {
        measuremath::fail(memError);
    }
}

}  // namespace

Powell::Powell(int n)
{
    Powell::initPowell(n);
}

void Powell::initPowell(int n)
{
    Vector const params(n);
    std::vector<double> work = allocate(minpack::hybrdWorkSize(n) + 1);
    std::vector<double> fvec = allocate(n);

    _n = n;
    _params = params;
    _work.swap(work);
    _fvec.swap(fvec);
    _lwa = static_cast<int>(_work.size());
    _nbIter = 0;
    _maxNormValue = defaultTolerance;
}

// Works on a copy, so that whatever is thrown leaves the start point and other holders of it alone.
template <class Evaluate, class Solve>
void Powell::solve(Evaluate evaluate, Solve runMinpack)
{
    assert(_params.getSize() >= _n);
    Vector solution = _params;
    double* const x = solution.begin();
    double* const fvec = _fvec.data();

    evaluate(x, fvec);
    double const before = minpack::enorm(_n, fvec);
    _info = runMinpack(x, fvec);
    evaluate(x, fvec);
    _rmsBefore = before;
    _rmsAfter = minpack::enorm(_n, fvec);
    _params = solution;
}

void NumPowell::compute()
{
    require(_function != nullptr, noFunction);

    auto const evaluate = [this](double* x, double* fvec) { _function(&_n, x, fvec, &_iflag); };
    auto const callback = [this](int n, double const* x, double* fvec, int iflag) {
        _function(&n, const_cast<double*>(x), fvec, &iflag);  // memory of ours or MINPACK's
        return iflag;
    };
    solve(evaluate, [&](double* x, double* fvec) {
        return minpack::guarded(minpack::hybrd, callback, _n, x, fvec, _maxNormValue, _nbIter,
                                _work.data());
    });
}

AnalyticPowell::AnalyticPowell(int n, Function function) : _function(function)
{
    AnalyticPowell::initPowell(n);
}

void AnalyticPowell::initPowell(int n)
{
    std::vector<double> fjac = allocate(static_cast<long long>(n) * n);
    Powell::initPowell(n);
    _fjac.swap(fjac);
}

void AnalyticPowell::compute()
{
    require(_function != nullptr, noFunction);

    auto const evaluate = [this](double* x, double* fvec) {
        int ldfjac = _n;
        _function(&_n, x, fvec, _fjac.data(), &ldfjac, &_iflag);
    };
    auto const callback = [this](int n, double const* x, double* fvec, double* fjac, int ldfjac,
                                 int iflag) {
        _function(&n, const_cast<double*>(x), fvec, fjac, &ldfjac, &iflag);  // as above
        return iflag;
    };
    // kept: the number of evaluations is not reported
    solve(evaluate, [&](double* x, double* fvec) {
        return minpack::guarded(minpack::hybrj, callback, _n, x, fvec, _fjac.data(), _maxNormValue,
                                _work.data());
    });
}
