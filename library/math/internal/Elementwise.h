#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

/// The loops over raw buffers that vectors and matrices share. Outputs may alias inputs element
/// for element.
namespace measuremath {

/// out[i] = op(a[i], b[i]).
template <class Op>
void transform(double const* a, double const* b, double* out, std::size_t n, Op op)
{
    if (n == 3) {  // a point: the loop's packed loads would wait for elements stored one by one
        out[0] = op(a[0], b[0]);
        out[1] = op(a[1], b[1]);
        out[2] = op(a[2], b[2]);
        return;
    }
    for (std::size_t i = 0; i < n; ++i) out[i] = op(a[i], b[i]);
}

/// out[i] = op(a[i]).
template <class Op>
void transform(double const* a, double* out, std::size_t n, Op op)
{
    transform(a, a, out, n, [op](double x, double) { return op(x); });
}

/// @name Operations on the elements of one operand, which takes both places
/// @{
inline constexpr auto negated = [](double x, double) { return -x; };
inline auto times(double s)
{
    return [s](double x, double) { return x * s; };
}
/// @}

/// Sum of term(i) over i < n in four interleaved partial sums, which vectorise and round less.
template <class Term>
double sum(std::size_t n, Term term)
{
    double s[4] = {};
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4)
        for (std::size_t k = 0; k < 4; ++k) s[k] += term(i + k);
    double rest = 0.0;
    for (; i < n; ++i) rest += term(i);
    return ((s[0] + s[1]) + (s[2] + s[3])) + rest;
}

/// Sum of products.
inline double dot(double const* a, double const* b, std::size_t n)
{
    if (n == 3) return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
    return sum(n, [=](std::size_t i) { return a[i] * b[i]; });
}

/// Whether no element is infinite or NaN: x - x is 0 for all others.
inline bool allFinite(double const* a, std::size_t n)
{
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < n; ++i) bits |= std::bit_cast<std::uint64_t>(a[i] - a[i]);
    return bits << 1 == 0;  // but for the sign
}

/// Euclidean norm. When the plain sum of squares leaves the range where it is accurate, the
/// elements are scaled by the largest of them first.
inline double norm(double const* a, std::size_t n)
{
    double const squares = dot(a, a, n);
    constexpr double tiny = 1e-280;  // squares below may have lost digits to underflow
    constexpr double huge = 1e300;
    if (squares > tiny && squares < huge) return std::sqrt(squares);

    double largest = 0.0;
    for (std::size_t i = 0; i < n; ++i) largest = std::max(largest, std::abs(a[i]));
    if (!(largest > 0.0) || !std::isfinite(largest)) return std::sqrt(squares);
    return largest * std::sqrt(sum(n, [=](std::size_t i) {
               double const x = a[i] / largest;
               return x * x;
           }));
}

}  // namespace measuremath
