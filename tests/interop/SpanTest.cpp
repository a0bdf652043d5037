#include "math/interop/Span.h"

#include "math/Matrix.h"
#include "math/Vector.h"

#include <gtest/gtest.h>

#include <numeric>
#include <type_traits>
#include <utility>

namespace {

TEST(Span, RangeForVisitsEachElementAndUnSharesOnlyToWrite)
{
    Vector v = Vector::of({1, 2, 3});
    Vector const shared = v;
    double sum = 0.0;
    for (double const x : std::as_const(v)) sum += x;
    EXPECT_EQ(sum, 6.0);
    EXPECT_EQ(std::as_const(v).begin(), shared.begin());

    for (double& x : v) x *= 2.0;
    EXPECT_EQ(v, Vector::of({2, 4, 6}));
    EXPECT_EQ(shared, Vector::of({1, 2, 3}));
}

TEST(Span, ReadsInPlaceAndWritesToAPrivateBuffer)
{
    Matrix m = Matrix::of({{1, 2}, {3, 4}});
    Matrix const shared = m;
    auto const read = measuremath::asSpan(shared);
    static_assert(std::is_same_v<decltype(read), std::span<double const> const>);
    EXPECT_EQ(read.data(), shared.begin());
    EXPECT_EQ(read.size(), 4U);

    measuremath::asSpan(m).back() = 9.0;
    EXPECT_EQ(std::as_const(m).at(1, 1), 9.0);
    EXPECT_EQ(read.back(), 4.0);

    TVector<int> counts(5);
    std::iota(counts.begin(), counts.end(), 1);
    EXPECT_EQ(measuremath::asSpan(counts).last(1)[0], 5);
    EXPECT_TRUE(measuremath::asSpan(std::as_const(counts)).first(0).empty());
}

}  // namespace
