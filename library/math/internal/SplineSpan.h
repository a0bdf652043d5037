#pragma once

#include "pix/Point.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>

/// The pieces of spline curves as polynomials in the local parameter u, which evaluation, sampling
/// and fitting share.
namespace measuremath {

using PlanePoint = Pix::Point<double>;

/// r (r - 1) ... (r - d + 1), the factor of u^(r - d) in the d-th derivative of u^r.
constexpr double fallingFactorial(int r, int d)
{
    double product = 1.0;
    for (int i = 0; i < d; ++i) product *= r - i;
    return product;
}

/// Calls `work` with the order: as a constant for the usual ones, so that loops over it unroll.
template <class Work>
decltype(auto) withOrder(int order, Work work)
{
    switch (order) {
        case 2:
            return work(std::integral_constant<int, 2>());
        case 3:
            return work(std::integral_constant<int, 3>());
        case 4:
            return work(std::integral_constant<int, 4>());
        case 5:
            return work(std::integral_constant<int, 5>());
        case 6:
            return work(std::integral_constant<int, 6>());
        default:
            return work(order);
    }
}

/// The derivative of Σ_r coefficient(r) · u^r, r < order, by Horner's rule.
template <int derivative, class Order, class Coefficient>
PlanePoint horner(Order order, double u, Coefficient coefficient)
{
    PlanePoint p;
    for (int r = order - 1; r >= derivative; --r) {
        PlanePoint const a = coefficient(r);
        double const factor = fallingFactorial(r, derivative);
        p.x = p.x * u + factor * a.x;
        p.y = p.y * u + factor * a.y;
    }
    return p;
}

/// One span of a B-spline: where it lies, its matrix and the control points that act on it.
struct SplineSpan {
    double start;
    double end;
    int order;
    double const* matrix;  ///< Row r: the coefficients of u^r.
    int first;             ///< Control point of column 0.
    int nbControlPoints;   ///< Those of the curve; the columns take them cyclically.

    int next(int index) const { return index + 1 == nbControlPoints ? 0 : index + 1; }

    /// Coefficient of u^r in the curve with control points (x[i], y[i]); k is the order.
    template <class Order>
    PlanePoint coefficient(Order k, double const* x, double const* y, int r) const
    {
        double const* const row = matrix + static_cast<std::ptrdiff_t>(r) * k;
        PlanePoint a;
        if (first + k <= nbControlPoints) {
            for (int c = 0; c < k; ++c) {
                a.x += row[c] * x[first + c];
                a.y += row[c] * y[first + c];
            }
            return a;
        }
        for (int c = 0, i = first; c < k; ++c, i = next(i)) {
            a.x += row[c] * x[i];
            a.y += row[c] * y[i];
        }
        return a;
    }

    /// Derivatives of the `order` basis functions, by Horner's rule on all of them.
    template <int derivative>
    void basis(double u, double* values) const
    {
        std::fill_n(values, order, 0.0);
        for (int r = order - 1; r >= derivative; --r) {
            double const* const row = matrix + static_cast<std::ptrdiff_t>(r) * order;
            double const factor = fallingFactorial(r, derivative);
            for (int c = 0; c < order; ++c) values[c] = values[c] * u + factor * row[c];
        }
    }
};

}  // namespace measuremath
