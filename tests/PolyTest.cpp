#include "math/poly.h"

#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

namespace {

using Root = std::complex<double>;
using LongComplex = std::complex<long double>;

template <class T>
std::vector<T> product(std::vector<T> const& roots)
{
    std::vector<T> c = {T(1)};
    for (T const& root : roots) {
        c.push_back(T(0));
        for (std::size_t i = c.size() - 1; i > 0; --i) c[i] -= root * c[i - 1];
    }
    return c;
}

// Largest difference between a coefficient and that of the polynomial with these roots, relative to
// what it would be if all its terms had the same sign. Wide enough for any double.
double backwardError(Vector const& c, std::vector<Root> const& roots)
{
    std::vector<LongComplex> wide(roots.begin(), roots.end());
    std::vector<long double> sizes(wide.size());
    std::ranges::transform(wide, sizes.begin(), [](LongComplex const& z) { return -std::abs(z); });
    auto const rebuilt = product(wide);
    auto const largest = product(sizes);
    double worst = 0.0;
    for (std::size_t i = 0; i < rebuilt.size(); ++i) {
        LongComplex const difference = rebuilt[i] - static_cast<long double>(c[i]) / c[0];
        if (std::abs(difference) != 0)
            worst = larger(worst, double(std::abs(difference) / largest[i]));
    }
    return worst;
}

Vector random(RandomData& data, int n, double decades)
{
    Vector c = data.vector(n + 1);
    for (double& ci : c) ci *= std::pow(10.0, data.uniform(-decades, decades));
    return c;
}

// The polynomial whose n roots a function of their number gives.
template <class RootOf>
Vector withRoots(int n, RootOf rootOf)
{
    std::vector<long double> roots(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) roots[static_cast<std::size_t>(i)] = rootOf(i);
    auto const c = product(roots);
    return toVector(std::vector<double>(c.begin(), c.end()));
}

TEST(Poly, RootsRebuildThePolynomialInOrderAndInExactPairs)
{
    // Some roundings, 2^-52 each, for each of up to 40 coefficients.
    constexpr double roundings = 5e-13;
    struct Family {
        char const* name;
        int lowest, highest;  // degrees
        std::function<Vector(RandomData&, int)> make;
        double tolerance = roundings;
    };
    Family const families[] = {
        {"random", 1, 40, [](RandomData& d, int n) { return random(d, n, 0); }},
        {"badly scaled", 1, 40, [](RandomData& d, int n) { return random(d, n, 15); }},
        {"at the limits", 3, 40, [](RandomData& d, int n) { return random(d, n, 140); }},
        {"far apart", 2, 10,
         [](RandomData& d, int n) {
             return withRoots(n, [&](int) { return std::pow(10.0L, d.uniform(-8, 8)); });
         }},
        {"beside underflow", 3, 20,
         [](RandomData& d, int n) {
             Vector c(n + 1);
             c[0] = d.integer(1, 20) * std::numeric_limits<double>::denorm_min();
             c[n] = d.uniform(-14, 14);
             return c;
         }},
        {"Wilkinson", 5, 20,
         [](RandomData&, int n) { return withRoots(n, [](int i) { return i + 1; }); }},
        {"clustered", 3, 12,
         [](RandomData&, int n) { return withRoots(n, [](int i) { return i == 0 ? -3 : 1; }); }},
        // Two hard things at once: roots of other sizes disturb the clusters.
        {"clusters of several sizes", 7, 7,
         [](RandomData&, int n) {
             return withRoots(n, [](int i) { return std::pow(1e9L, i % 3 - 1); });
         },
         1e-8},
    };
    auto const key = [](Root const& z) { return std::pair(z.real(), z.imag()); };
    for (Family const& family : families) {
        RandomData data(11);
        for (int n = family.lowest; n <= family.highest; ++n)
            for (int trial = 0; trial < 10; ++trial) {
                Vector const c = family.make(data, n);
                std::vector<Root> const roots = poly(c);
                ASSERT_EQ(roots.size(), std::size_t(n)) << family.name;
                EXPECT_LT(backwardError(c, roots), family.tolerance) << family.name << ": " << c;
                EXPECT_TRUE(std::ranges::is_sorted(roots, {}, key));
                for (Root const& z : roots)
                    EXPECT_EQ(std::ranges::count(roots, z),
                              std::ranges::count(roots, std::conj(z)));
            }
    }
}

TEST(Poly, DropsLeadingZerosAndKeepsTrailingOnesAsExactRoots)
{
    EXPECT_EQ(poly(Vector::of({0, 0, 2, -6, 0, -0.0})), (std::vector<Root>{0.0, 0.0, 3.0}));
    EXPECT_EQ(poly(Vector::of({5, 0, 0, 0})), (std::vector<Root>{0.0, 0.0, 0.0}));
    EXPECT_TRUE(poly(Vector::of({0, 7})).empty());
    EXPECT_EQ(poly(Vector::of({1, 0, 0, -8, 0})).at(2), Root(0.0));
}

TEST(Poly, QuadraticsAreExactToTheLastDigits)
{
    auto const expectRoots = [](double a, double b, double c, Root first, Root second) {
        constexpr double tolerance = 4 * std::numeric_limits<double>::epsilon();
        std::vector<Root> const roots = poly(Vector::of({a, b, c}));
        ASSERT_EQ(roots.size(), 2U);
        EXPECT_LE(std::abs(roots[0] - first), tolerance * std::abs(first)) << roots[0] << first;
        EXPECT_LE(std::abs(roots[1] - second), tolerance * std::abs(second)) << roots[1] << second;
    };
    RandomData random(14);
    constexpr int limit = 1 << 25;  // coefficients are exact, though b² and 4ac may nearly agree
    for (int i = 0; i < 500; ++i) {
        double const p = random.integer(-limit, limit), im = random.integer(0, limit);
        double const q = p + random.integer(0, i % 2 == 0 ? 3 : limit);
        double const k = std::exp2(random.integer(-200, 200));
        double const a = std::exp2(random.integer(-500, 500));
        expectRoots(a, -a * k * (p + q), a * k * k * (p * q), k * p, k * q);
        expectRoots(a, -2 * a * k * p, a * k * k * (p * p + im * im), k * Root(p, -im),
                    k * Root(p, im));
    }
    expectRoots(1, 1e200, 1, -1e200, -1e-200);
}

TEST(Poly, RefusesWhatHasNoRootsToTell)
{
    for (Vector const& c : {Vector(), Vector(4)})
        EXPECT_MATH_ERROR(poly(c), "Polynomial without non-zero coefficient");
    for (Vector const& c : {Vector::of({1, INFINITY, 1}), Vector::of({0, NAN, 1, 2})})
        EXPECT_MATH_ERROR(poly(c), "Polynomial coefficients should be finite");
    for (Vector const& c : {Vector::of({1e-200, 1e200}), Vector::of({1e-200, 1e200, 1}),
                            Vector::of({1e-200, 1e200, 1, 1, 1})})
        EXPECT_MATH_ERROR(poly(c), "Polynomial roots out of range");
}

}  // namespace
