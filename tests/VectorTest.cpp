#include "math/Vector.h"

#include "support/HeapCounter.h"
#include "support/MathErrorExpectations.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <iomanip>
#include <limits>
#include <sstream>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

void expectSame(Vector const& actual, Vector const& expected)
{
    EXPECT_TRUE(isNear(actual, expected, 0)) << actual << " expected " << expected;
}

template <class Operation>
void expectElementwise(Operation operation, Vector& (Vector::*compound)(Vector const&))
{
    RandomData random(1);
    for (int const n : {0, 1, 2, 3, 4, 7, 17, 64}) {
        Vector const a = random.vector(n), b = random.vector(n);
        Vector expected(n), ofItself(n);
        for (int i = 0; i < n; ++i) {
            expected[i] = operation(a[i], b[i]);
            ofItself[i] = operation(a[i], a[i]);
        }
        Vector inPlace = a, aliased = a;
        expectSame((inPlace.*compound)(b), expected);
        expectSame((aliased.*compound)(aliased), ofItself);
        expectSame(operation(a, b), expected);
        // Temporaries, first those whose buffers others hold.
        expectSame(operation(Vector(a), b), expected);
        expectSame(operation(a, Vector(b)), expected);
        expectSame(operation(Vector(a), Vector(b)), expected);
        expectSame(operation(Vector(a.begin(), n), b), expected);
        expectSame(operation(a, Vector(b.begin(), n)), expected);
        expectSame(operation(Vector(a.begin(), n), Vector(b.begin(), n)), expected);
    }
}

TEST(Vector, ElementwiseOperationsAgreeInEveryForm)
{
    expectElementwise(std::plus<>(), &Vector::operator+=);
    expectElementwise(std::minus<>(), &Vector::operator-=);
    expectElementwise(std::multiplies<>(), &Vector::operator*=);
    expectElementwise(std::divides<>(), &Vector::operator/=);
}

TEST(Vector, AChainOfTemporariesWritesIntoTheFirstOfThem)
{
    Vector const a(100);  // too large to be kept for reuse
    HeapCounter const heap;
    Vector const left = -(2.0 * a + a - a) / 3.0 * 0.5;
    EXPECT_EQ(heap.blocks(), 1U);
    Vector const right = a - (a + 0.5 * a);
    EXPECT_EQ(heap.blocks(), 2U);
    Vector const both = 2.0 * a - a / 3.0;
    EXPECT_EQ(heap.blocks(), 4U);
}

TEST(Vector, ScalingByOneKeepsSharing)
{
    Vector const v = Vector::of({1, -2, 4});
    Vector w = v;
    w *= 1.0;
    EXPECT_EQ(w.cbegin(), v.cbegin());
    EXPECT_EQ((v * 1.0).cbegin(), v.cbegin());
    w *= 2.0;
    expectSame(w, Vector::of({2, -4, 8}));
    expectSame(v, Vector::of({1, -2, 4}));
    expectSame(0.5 * v, Vector::of({0.5, -1, 2}));
    w /= 3.0;
    expectSame(w, 1.0 / 3.0 * Vector::of({2, -4, 8}));
}

TEST(Vector, DivideAssignByZeroLeavesItUnchangedWhereDivideGivesInfinities)
{
    Vector const v = Vector::of({1, -1, 0});
    Vector const quotient = v / 0.0;
    EXPECT_TRUE(quotient[0] == infinity && quotient[1] == -infinity && std::isnan(quotient[2]));
    Vector w = v;
    w /= 0.0;
    EXPECT_EQ(w.cbegin(), v.cbegin());
}

TEST(Vector, ProductsAndNorms)
{
    EXPECT_EQ(Vector().dot(Vector()), 0.0);
    EXPECT_EQ(Vector().length(), 0.0);
    Vector const x = Vector::of({1, 0, 0}), y = Vector::of({0, 1, 0});
    expectSame(x.cross(y), Vector::of({0, 0, 1}));
    expectSame(y.cross(x), Vector::of({0, 0, -1}));

    RandomData random(2);
    for (int n = 1; n < 40; ++n) {
        Vector const a = random.vector(n), b = random.vector(n);
        long double dot = 0.0L, squares = 0.0L;
        for (int i = 0; i < n; ++i) {
            dot += static_cast<long double>(a[i]) * b[i];
            squares += static_cast<long double>(a[i]) * a[i];
        }
        double const tolerance = n * 2.2e-16;  // one rounding a term of magnitude 1
        EXPECT_NEAR(a.dot(b), static_cast<double>(dot), tolerance);
        EXPECT_NEAR(a.length(), static_cast<double>(std::sqrt(squares)), tolerance);
    }
}

TEST(Vector, LengthNeitherOverflowsNorUnderflows)
{
    for (double const scale : {1e-320, 1e-200, 1e-150, 1e-140, 1.0, 1e150, 1e200, 1e307})
        EXPECT_DOUBLE_EQ(Vector::of({3 * scale, 4 * scale, 0.0}).length() / scale, 5.0) << scale;
    EXPECT_EQ(Vector::of({infinity, 1.0}).length(), infinity);
    EXPECT_TRUE(std::isnan(Vector::of({std::nan(""), 1e300}).length()));
}

TEST(Vector, MinPosTakesTheFirstOfTies)
{
    EXPECT_EQ(Vector::of({3, 1, 1}).minPos(), 1);
    EXPECT_EQ(Vector::of({0, 1, -0.0}).minPos(), 0);
    EXPECT_EQ(Vector().minPos(), 0);
}

TEST(Vector, EqualityIsTheNormOfTheDifference)
{
    Vector const zero(3);
    EXPECT_TRUE(zero == Vector::of({1e-15, 0, 0}));
    EXPECT_FALSE(zero == Vector::of({1e-15, 1e-15, 1e-15}));
    EXPECT_TRUE(zero != Vector::of({1e-15, 1e-15, 1e-15}));
    EXPECT_EQ(zero.equals(Vector::of({3, 4, 0}), 5.0), 1);
    EXPECT_EQ(zero.equals(Vector::of({std::nan(""), 0, 0}), infinity), 0);
}

TEST(Vector, SubVectorsAreCopies)
{
    Vector v = Vector::of({0, 1, 2, 3, 4});
    expectSame(v(2, 3), Vector::of({2, 3, 4}));
    expectSame(v(2U, std::size_t{0}), Vector());
    expectSame(v(1, Vector::of({7, 8})), Vector::of({0, 7, 8, 3, 4}));
    expectSame(v(0U, v), Vector::of({0, 7, 8, 3, 4}));
}

TEST(Vector, MisuseThrowsAndChangesNothing)
{
    Vector v = Vector::of({1, 2, 3});
    Vector const sharer = v;
    Vector const other(2);
    char const* const badDim = "Bad vector dimensions";
    for (auto const operation : {&Vector::operator+=, &Vector::operator-=})
        EXPECT_MATH_ERROR((v.*operation)(other), badDim);
    EXPECT_MATH_ERROR(v *= other, badDim);
    EXPECT_MATH_ERROR(v /= other, badDim);
    EXPECT_MATH_ERROR(v + other, badDim);
    EXPECT_MATH_ERROR(-v - other, badDim);
    EXPECT_MATH_ERROR(v * other, badDim);
    EXPECT_MATH_ERROR(v / other, badDim);
    EXPECT_MATH_ERROR(v.dot(other), badDim);
    EXPECT_MATH_ERROR(v.cross(other), badDim);
    EXPECT_MATH_ERROR(static_cast<void>(v.equals(other, 1.0)), badDim);
    EXPECT_MATH_ERROR(static_cast<void>(v == other), badDim);
    EXPECT_MATH_ERROR(v(3, 3), "Bad start index");
    EXPECT_MATH_ERROR(v(UINT_MAX, 2U), "Bad start index");
    EXPECT_MATH_ERROR(v(2, other), "Bad start index");
    EXPECT_MATH_ERROR(v(2U, other), "Bad start index");
    EXPECT_EQ(v.cbegin(), sharer.cbegin());
    expectSame(v, Vector::of({1, 2, 3}));
}

TEST(Vector, ConvertsToAndFromStandardContainers)
{
    for (Vector const& v : {Vector(), Vector::of({1.5, -2, 3})}) {
        expectSame(toVector(toStlVector(v)), v);
        expectSame(toVector(toValarray(v)), v);
    }
}

TEST(Vector, PrintsWithTheStreamsPrecisionAndRoundTrips)
{
    std::ostringstream text;
    text << Vector::of({1.0 / 3.0, -2, 0}) << Vector();
    EXPECT_EQ(text.str(), "(0.333333, -2, 0)()");

    std::stringstream precise;
    precise << std::setprecision(17) << Vector::of({0.1 + 0.2});
    precise.ignore();
    double back = 0.0;
    precise >> back;
    EXPECT_EQ(back, 0.1 + 0.2);
}

}  // namespace
