#include "math/poly.h"

#include "math/MathError.h"
#include "math/Matrix.h"
#include "math/internal/Constants.h"
#include "math/internal/DifferenceOfProducts.h"
#include "math/internal/Lapack.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <utility>

namespace lapack = measuremath::lapack;
using measuremath::require;

namespace {

using Complex = std::complex<double>;

// From the highest power down; neither end is 0. Roots of these: one with a positive imaginary part
// stands for a conjugate pair.
using Coefficients = std::vector<double>;
using Roots = std::vector<Complex>;

constexpr char const* outOfRange = "Polynomial roots out of range";

int degree(Coefficients const& c)
{
    return static_cast<int>(c.size()) - 1;
}

// One edge of the Newton polygon: `end` - `begin` roots of size about 2^log2Size.
struct Edge {
    int begin;
    int end;
    double log2Size;

    int length() const { return end - begin; }
};

// The upper convex hull of the points (i, log2 |c_i|), from the largest roots to the smallest.
std::vector<Edge> newtonPolygon(Coefficients const& c)
{
    auto const slope = [&](int i, int j) {
        return (std::log2(std::abs(c[j])) - std::log2(std::abs(c[i]))) / (j - i);
    };
    std::vector<Edge> edges;
    for (int i = 1; i <= degree(c); ++i) {
        if (c[i] == 0.0) continue;
        int begin = edges.empty() ? 0 : edges.back().end;
        while (!edges.empty() && slope(edges.back().begin, i) >= edges.back().log2Size) {
            begin = edges.back().begin;
            edges.pop_back();
        }
        edges.push_back({begin, i, slope(begin, i)});
    }
    return edges;
}

using Edges = std::span<Edge const>;

// How far the polygon rises above the line between its ends.
double height(Edges edges)
{
    double rise = 0.0;
    for (Edge const& edge : edges) rise += edge.log2Size * edge.length();
    double const mean = rise / (edges.back().end - edges.front().begin);
    double result = 0.0;
    for (Edge const& edge : edges) result += std::max(0.0, edge.log2Size - mean) * edge.length();
    return result;
}

// Index of the edge behind the widest gap between sizes; 0 when there is one edge only.
std::size_t widestGap(Edges edges)
{
    auto const gap = [&](std::size_t k) { return edges[k - 1].log2Size - edges[k].log2Size; };
    std::size_t widest = 0;
    for (std::size_t k = 1; k < edges.size(); ++k)
        if (widest == 0 || gap(k) > gap(widest)) widest = k;
    return widest;
}

// Divides the roots into sets of similar size, where the sizes are far apart or where one
// eigenvalue problem would lose the smaller ones. Both limits come from trials with random
// coefficients over up to 280 decades and with clusters of up to four roots over 18 decades.
void divide(Edges edges, std::vector<Edges>& sets)
{
    constexpr double farApart = 16.0;
    constexpr double mostHeight = 64.0;
    std::size_t const k = widestGap(edges);
    bool const isFarApart = k > 0 && edges[k - 1].log2Size - edges[k].log2Size >= farApart;
    if (k == 0 || (!isFarApart && height(edges) <= mostHeight)) {
        sets.push_back(edges);
        return;
    }
    divide(edges.first(k), sets);
    divide(edges.subspan(k), sets);
}

// The coefficients of c(2^exponent · y), up to a factor, exact short of underflow; at `first` about 1.
Coefficients scaled(Coefficients const& c, int exponent, int first)
{
    int const unit = std::ilogb(c[first]) - exponent * first;
    Coefficients result(c.size());
    for (int i = 0; i <= degree(c); ++i) {
        int binary = 0;
        double const mantissa = std::frexp(c[i], &binary);
        result[i] = std::scalbn(mantissa, binary - unit - exponent * i);
    }
    return result;
}

// The factor of c with the roots of a set: its coefficients, less what the other roots contribute to
// them. The coefficients before it, P, and behind it, Q, are about the factors of the larger and of
// the smaller roots; c / (P Q), a power series for either, errs by the square of what the set alone
// would.
Coefficients factor(Coefficients const& c, int first, int last)
{
    Coefficients q = c;
    for (int i = degree(c); i >= first; --i)
        for (int j = 1; j <= first && i + j <= degree(c); ++j)
            q[i] -= c[first - j] / c[first] * q[i + j];
    for (int i = first; i <= last; ++i)
        for (int j = 1; j <= i - first && last + j <= degree(c); ++j)
            q[i] -= c[last + j] / c[last] * q[i - j];
    return Coefficients(q.begin() + first, q.begin() + last + 1);
}

// a x² + b x + c: the root without cancellation first, the other from the product of both.
Roots quadraticRoots(double a, double b, double c)
{
    constexpr double hugeSquare = 1e150;  // beyond, a and c, about 1, no longer count
    double const h = -0.5 * b;
    double const discriminant = measuremath::differenceOfProducts(h, h, a, c);
    if (discriminant < 0.0) return {{h / a, std::sqrt(-discriminant) / std::abs(a)}};
    double const root = std::abs(h) > hugeSquare ? std::abs(h) : std::sqrt(discriminant);
    double const x = h + std::copysign(root, h);
    return {x / a, c / x};
}

Roots companionRoots(Coefficients const& c)
{
    int const n = degree(c);
    Matrix companion(n, n);  // read by columns it is upper Hessenberg, as LAPACK wants it
    for (int i = 0; i < n; ++i) {
        companion[i][0] = -c[i + 1] / c[0];
        if (i + 1 < n) companion[i][i + 1] = 1.0;
    }
    require(lapack::isFinite(companion), outOfRange);

    Vector real(n);
    Vector imaginary(n);
    double* const a = companion.data();
    double* const wr = real.data();
    double* const wi = imaginary.data();
    int const info = lapack::withWorkspace(
        [&](double* work, int lwork) { return lapack::geev(n, a, n, wr, wi, work, lwork); });
    require(info == 0, "Polynomial roots do not converge");

    Roots roots;
    for (int i = 0; i < n; ++i)
        if (wi[i] >= 0.0) roots.emplace_back(wr[i], wi[i]);
    return roots;
}

Roots rootsOfSet(Coefficients const& whole, Edges set)
{
    int const first = set.front().begin;
    int const last = set.back().end;
    int const exponent = static_cast<int>(
        std::lround((std::ilogb(whole[last]) - std::ilogb(whole[first])) / double(last - first)));
    Coefficients const c = factor(scaled(whole, exponent, first), first, last);
    Roots roots = c.size() == 2   ? Roots{-c[1] / c[0]}
                  : c.size() == 3 ? quadraticRoots(c[0], c[1], c[2])
                                  : companionRoots(c);
    for (Complex& z : roots) {
        z = {std::scalbn(z.real(), exponent), std::scalbn(z.imag(), exponent)};
        require(std::isfinite(z.real()) && std::isfinite(z.imag()), outOfRange);
    }
    return roots;
}

struct Evaluation {
    // |p(z)| / Σ |c_i z^(n-i)|: the relative change of coefficients that makes z a root.
    double error;
    Complex step;  // p(z) / p'(z)
};

// Infinite where the terms are so small that underflow took their digits.
Evaluation evaluate(Coefficients const& c, Complex z)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double leastExactSum =
        std::numeric_limits<double>::min() / measuremath::machineEpsilon;
    bool const outside = std::abs(z) > 1.0;  // then in powers of 1 / z, which do not overflow
    Complex const w = outside ? 1.0 / z : z;
    Complex p = 0.0;
    Complex derivative = 0.0;
    double sum = 0.0;
    auto const horner = [&, size = std::abs(w)](double ci) {
        derivative = derivative * w + p;
        p = p * w + ci;
        sum = sum * size + std::abs(ci);
    };
    if (outside)
        std::for_each(c.rbegin(), c.rend(), horner);
    else
        std::for_each(c.begin(), c.end(), horner);
    if (sum < leastExactSum) return {infinity, infinity};
    double const n = degree(c);
    return {std::abs(p) / sum, outside ? z * p / (n * p - w * derivative) : p / derivative};
}

double distanceToNext(Roots const& roots, Complex const& z)
{
    double distance = std::numeric_limits<double>::infinity();
    if (z.imag() > 0.0) distance = 2.0 * z.imag();
    for (Complex const& other : roots)
        if (&other != &z)
            distance = std::min({distance, std::abs(z - other), std::abs(z - std::conj(other))});
    return distance;
}

// Within a cluster every point is nearly a root, and one that moves alone spoils the others.
void correctIsolated(Coefficients const& c, Roots& roots)
{
    constexpr int mostSteps = 4;
    constexpr double isolated = 0.1;
    double const enough = degree(c) * measuremath::machineEpsilon;
    for (Complex& z : roots)
        for (int k = 0; k < mostSteps; ++k) {
            Evaluation const here = evaluate(c, z);
            if (here.error <= enough) break;
            if (!(std::abs(here.step) < isolated * distanceToNext(roots, z))) break;
            if (!(evaluate(c, z - here.step).error < here.error)) break;
            z -= here.step;
        }
}

Roots rootsOf(Coefficients const& c)
{
    std::vector<Edge> const polygon = newtonPolygon(c);
    std::vector<Edges> sets;
    if (degree(c) <= 2)
        sets.emplace_back(polygon);
    else
        divide(polygon, sets);
    Roots roots;
    for (Edges const& set : sets)
        for (Complex const& z : rootsOfSet(c, set)) roots.push_back(z);
    correctIsolated(c, roots);
    return roots;
}

}  // namespace

std::vector<Complex> poly(Vector const& coefficients)
{
    auto const isNonZero = [](double c) { return c != 0.0; };
    require(lapack::isFinite(coefficients), "Polynomial coefficients should be finite");
    double const* const first = std::find_if(coefficients.begin(), coefficients.end(), isNonZero);
    require(first != coefficients.end(), "Polynomial without non-zero coefficient");

    double const* last = coefficients.end();
    while (last[-1] == 0.0) --last;
    std::vector<Complex> result(coefficients.end() - last);
    if (last - first > 1)
        for (Complex const& z : rootsOf(Coefficients(first, last))) {
            result.push_back(z);
            if (z.imag() > 0.0) result.push_back(std::conj(z));
        }
    std::ranges::sort(result, {}, [](Complex const& z) { return std::pair(z.real(), z.imag()); });
    return result;
}
