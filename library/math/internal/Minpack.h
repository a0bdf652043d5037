#pragma once

#include <exception>
#include <type_traits>

/// The one door to MINPACK (J. J. Moré, B. S. Garbow, K. E. Hillstrom, User Guide for MINPACK-1,
/// Argonne National Laboratory ANL-80-74, 1980), in its re-entrant C form. Arguments and results are
/// MINPACK's own, passed by value, with what never changes here filled in; each solver returns INFO.
///
/// A function receives the pointer that the solver was given. A negative result stops the solver,
/// which then returns it. The solvers are C, through which no exception may pass: `guarded` calls
/// them with functions that throw.
namespace measuremath::minpack {

/// Residuals (iflag 1) or column-major Jacobian (iflag 2) of m equations in n variables at x.
using LeastSquaresFunction = int (*)(void* user, int m, int n, double const* x, double* fvec,
                                     double* fjac, int ldfjac, int iflag);

/// n equations in n unknowns at x.
using SystemFunction = int (*)(void* user, int n, double const* x, double* fvec, int iflag);

/// n equations (iflag 1) or their column-major Jacobian (iflag 2) in n unknowns at x.
using SystemFunctionWithJacobian = int (*)(void* user, int n, double const* x, double* fvec,
                                           double* fjac, int ldfjac, int iflag);

/// Elements of the work arrays.
constexpr long long lmderWorkSize(long long m, long long n)
{
    return m + 5 * n;
}
constexpr long long hybrdWorkSize(long long n)
{
    return n * (3 * n + 13) / 2;
}

/// Levenberg-Marquardt with ftol = xtol = tol, gtol = 0, internal scaling; INFO 8 becomes 4. With
/// INFO 0, for input that it refuses, nothing was called and nothing but INFO was set.
int lmder(LeastSquaresFunction function, void* user, int m, int n, double* x, double* fvec,
          double* fjac, double tol, double factor, int maxfev, int* ipvt, double* work);

/// Covariance (JᵀJ)⁻¹ in the leading n × n block of r, from what lmder leaves in fjac and ipvt.
void covar(int n, double* r, int ldr, int const* ipvt, double tol, double* work);

/// Powell's hybrid method with forward differences, at most 200 (n + 1) evaluations, unscaled, first
/// step bound 100; INFO 5 becomes 4. `nfev` receives the number of evaluations.
int hybrd(SystemFunction function, void* user, int n, double* x, double* fvec, double tol,
          int& nfev, double* work);

/// The same with a Jacobian, at most 100 (n + 1) evaluations.
int hybrj(SystemFunctionWithJacobian function, void* user, int n, double* x, double* fvec,
          double* fjac, double tol, double* work);

/// Euclidean norm.
double enorm(int n, double const* x);

/// A C++ function on its way through C: what it throws waits here, and stops the solver.
template <class Function>
struct Guard {
    Function& function;
    std::exception_ptr thrown;

    template <class... Args>
    static int call(void* guard, Args... args) noexcept
    {
        Guard& self = *static_cast<Guard*>(guard);
        try {
            return self.function(args...);
        } catch (...) {
            self.thrown = std::current_exception();
            return -1;
        }
    }
};

/// `solver(function, args...)` with any callable for the function; what that throws comes out here.
template <class Callback, class Function, class... Args>
int guarded(int (*solver)(Callback, void*, Args...), Function function,
            std::type_identity_t<Args>... args)
{
    Guard<Function> guard{function, nullptr};
    Callback const callback = &Guard<Function>::call;
    int const info = solver(callback, &guard, args...);
    if (guard.thrown) std::rethrow_exception(guard.thrown);
    return info;
}

}  // namespace measuremath::minpack
