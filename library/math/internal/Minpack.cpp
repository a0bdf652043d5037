#include "math/internal/Minpack.h"

#include <cminpack.h>

#include <algorithm>
#include <cstddef>

namespace measuremath {

namespace {

// Consecutive pieces of a work array.
class Pieces {
public:
    explicit Pieces(double* work) : _next(work) {}

    double* take(int n)
    {
        double* const piece = _next;
        _next += n;
        return piece;
    }

private:
    double* _next;
};

constexpr double firstStepBound = 100.0;
constexpr int scaledByCaller = 2;
constexpr int scaledInternally = 1;
constexpr int noPrinting = 0;

int packedTriangle(int n)
{
    return n * (n + 1) / 2;
}

// MINPACK tells slow progress of the last five Jacobians from that of the last ten steps.
int withoutDetail(int info)
{
    return info == 5 ? 4 : info;
}

}  // namespace

int minpack::lmder(LeastSquaresFunction function, void* user, int m, int n, double* x, double* fvec,
                   double* fjac, double tol, double factor, int maxfev, int* ipvt, double* work)
{
    Pieces pieces(work);
    double* const diag = pieces.take(n);
    double* const qtf = pieces.take(n);
    double* const wa1 = pieces.take(n);
    double* const wa2 = pieces.take(n);
    double* const wa3 = pieces.take(n);
    double* const wa4 = pieces.take(m);
    int nfev = 0;
    int njev = 0;
    int const info =
        ::lmder(function, user, m, n, x, fvec, fjac, m, tol, tol, 0.0, maxfev, diag,
                scaledInternally, factor, noPrinting, &nfev, &njev, ipvt, qtf, wa1, wa2, wa3, wa4);
    return info == 8 ? 4 : info;
}

void minpack::covar(int n, double* r, int ldr, int const* ipvt, double tol, double* work)
{
    ::covar(n, r, ldr, ipvt, tol, work);
}

int minpack::hybrd(SystemFunction function, void* user, int n, double* x, double* fvec, double tol,
                   int& nfev, double* work)
{
    Pieces pieces(work);
    double* const diag = pieces.take(n);
    std::fill_n(diag, n, 1.0);
    double* const qtf = pieces.take(n);
    double* const wa1 = pieces.take(n);
    double* const wa2 = pieces.take(n);
    double* const wa3 = pieces.take(n);
    double* const wa4 = pieces.take(n);
    double* const r = pieces.take(packedTriangle(n));
    double* const fjac = pieces.take(n * n);
    return withoutDetail(::hybrd(function, user, n, x, fvec, tol, 200 * (n + 1), n - 1, n - 1, 0.0,
                                 diag, scaledByCaller, firstStepBound, noPrinting, &nfev, fjac, n,
                                 r, packedTriangle(n), qtf, wa1, wa2, wa3, wa4));
}

int minpack::hybrj(SystemFunctionWithJacobian function, void* user, int n, double* x, double* fvec,
                   double* fjac, double tol, double* work)
{
    Pieces pieces(work);
    double* const diag = pieces.take(n);
    std::fill_n(diag, n, 1.0);
    double* const qtf = pieces.take(n);
    double* const wa1 = pieces.take(n);
    double* const wa2 = pieces.take(n);
    double* const wa3 = pieces.take(n);
    double* const wa4 = pieces.take(n);
    double* const r = pieces.take(packedTriangle(n));
    int nfev = 0;
    int njev = 0;
    return withoutDetail(::hybrj(function, user, n, x, fvec, fjac, n, tol, 100 * (n + 1), diag,
                                 scaledByCaller, firstStepBound, noPrinting, &nfev, &njev, r,
                                 packedTriangle(n), qtf, wa1, wa2, wa3, wa4));
}

double minpack::enorm(int n, double const* x)
{
    return ::enorm(n, x);
}

}  // namespace measuremath
