#include "FuzzInput.h"
#include "math/poly.h"

#include <algorithm>
#include <complex>

namespace {

using Root = std::complex<double>;

// |p(z)| as a share of Σ |c_i| |z|^(n-i): how much the coefficients must change for z to be a root.
// The range of `long double` holds every power.
long double backwardError(Vector const& coefficients, Root const& root)
{
    std::complex<long double> const z(root);
    std::complex<long double> value = 0.0L;
    long double sum = 0.0L;
    for (double const c : coefficients) {
        value = value * z + std::complex<long double>(c);
        sum = sum * std::abs(z) + std::abs(static_cast<long double>(c));
    }
    return sum == 0.0L ? 0.0L : std::abs(value) / sum;
}

bool isInOrder(Root const& a, Root const& b)
{
    return a.real() < b.real() || (a.real() == b.real() && a.imag() <= b.imag());
}

}  // namespace

void fuzz(FuzzInput& input)
{
    Vector const coefficients = input.vector(input.integer(0, 12));
    auto const roots = poly(coefficients);
    auto const isZero = [](double c) { return c == 0.0; };
    auto const* const leading = std::find_if_not(coefficients.begin(), coefficients.end(), isZero);
    check(static_cast<std::ptrdiff_t>(roots.size()) == coefficients.end() - leading - 1);
    for (std::size_t i = 0; i < roots.size(); ++i) {
        check(std::isfinite(roots[i].real()) && std::isfinite(roots[i].imag()));
        bool const isNormal = std::abs(roots[i]) >= 2.0 * std::numeric_limits<double>::min();
        if (isNormal) check(backwardError(coefficients, roots[i]) <= 1e-6L);  // as documented
        check(std::count(roots.begin(), roots.end(), std::conj(roots[i])) ==
              std::count(roots.begin(), roots.end(), roots[i]));
        if (i > 0) check(isInOrder(roots[i - 1], roots[i]));
    }
}
