#pragma once

/// @file
/// Roots of polynomials with real coefficients.

#include "math/Export.h"
#include "math/Vector.h"

#include <complex>
#include <vector>

/// All roots of c_0 x^n + c_1 x^(n-1) + ... + c_n, coefficients from the highest power down.
///
/// As many roots as the degree, multiple ones repeated, in the order of their real and then of
/// their imaginary parts; none for a constant. Leading zeros are dropped. Trailing zeros give roots
/// that are exactly 0, and non-real roots come in exact conjugate pairs.
///
/// Degrees 1 and 2 are solved in closed form. Otherwise the roots are eigenvalues of the balanced
/// companion matrix (A. Edelman, H. Murakami, Polynomial roots from companion matrix eigenvalues,
/// Mathematics of Computation 64, 1995), DGEEV of LAPACK. Roots of very different sizes, of which
/// one matrix would lose the smaller ones, are told apart by the Newton polygon and come from the
/// companion matrices of separate factors. Roots that stand alone are corrected by Newton's method.
///
/// The result are the roots of a polynomial whose coefficients differ by some roundings; by up to
/// 1e-6 where several multiple roots of different sizes meet. An m-fold root is found as a cluster of
/// about 2^(-52/m) of its size. The work grows as n³.
///
/// @throws MathError "Polynomial coefficients should be finite", "Polynomial without non-zero
///         coefficient", the latter for an empty vector too, "Polynomial roots out of range" when
///         a root cannot be told in `double`, and "Polynomial roots do not converge".
MEASUREMATH_API std::vector<std::complex<double>> poly(Vector const& coefficients);
