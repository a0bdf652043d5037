#pragma once

#include <cmath>

namespace measuremath {

/// a·b - c·d to within 1.5 units in the last place, however much the products cancel, and 0 only
/// when they are equal (short of underflow). Kahan's algorithm; analysed by Jeannerod, Louvet and
/// Muller, "Further analysis of Kahan's algorithm for the accurate computation of 2 × 2
/// determinants", Mathematics of Computation 82 (2013).
inline double differenceOfProducts(double a, double b, double c, double d)
{
    double const cd = c * d;
    double const error = std::fma(-c, d, cd);
    return std::fma(a, b, -cd) + error;
}

}  // namespace measuremath
