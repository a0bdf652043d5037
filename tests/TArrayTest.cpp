#include "math/Allocator.h"
#include "math/TArray.h"

#include "support/HeapCounter.h"
#include "support/MathErrorExpectations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace {

using Array = TArray<double>;

TVector<double> counting(int n)
{
    TVector<double> v(n);
    for (int i = 0; i < n; ++i) v[i] = i + 1;
    return v;
}

double const* addressOf(TVector<double> const& v)
{
    return v.begin();
}

// Opens the protected members.
struct OpenAllocator : Allocator {
    using Allocator::_data;
    using Allocator::_size;
    using Allocator::Allocator;
};

// Blocks of up to 16 doubles are kept for reuse.
int const sizes[] = {0, 1, 3, 4, 5, 9, 16, 17, 100};

TEST(Allocator, BufferCallsWorkOnTheObjectItself)
{
    double const values[] = {1.0, 2.0, 3.0};
    auto* const a = new OpenAllocator(sizeof values, values);
    EXPECT_EQ(a->_size, sizeof values);
    EXPECT_TRUE(std::equal(values, values + 3, static_cast<double*>(a->_data)));

    a->copy(values + 1, sizeof(double));
    EXPECT_EQ(static_cast<double*>(a->_data)[0], 2.0);
    a->copy(nullptr, sizeof values);
    EXPECT_EQ(static_cast<double*>(a->_data)[0], 2.0);

    double elsewhere[] = {4.0, 5.0};
    a->zeroed(elsewhere, sizeof(double));
    EXPECT_EQ(elsewhere[0], 0.0);
    EXPECT_EQ(elsewhere[1], 5.0);

    a->deallocate();
    a->deallocate();
    EXPECT_EQ(a->_data, nullptr);
    EXPECT_EQ(a->_size, 0U);
    a->copy(values, sizeof values);  // nothing to copy into

    a->allocate(values, 2 * sizeof(double));
    EXPECT_EQ(a->_size, 2 * sizeof(double));
    EXPECT_EQ(static_cast<double*>(a->_data)[1], 2.0);
    EXPECT_EQ(a->getOwnCopy(), a) << "the sole holder keeps its buffer";
    a->decrement();
}

TEST(Allocator, HoldsABlockForSizeZero)
{
    auto* const a = new OpenAllocator(0, nullptr);
    EXPECT_NE(a->_data, nullptr);
    EXPECT_EQ(a->_size, 0U);
    a->decrement();
}

TEST(TVector, EachCostsOneHeapBlockAndAnEmptyOneNone)
{
    constexpr std::size_t count = 1000;
    for (int const n : sizes) {
        std::vector<TVector<double>> held(count);
        HeapCounter const heap;
        for (TVector<double>& v : held) v = TVector<double>(n);
        EXPECT_LE(heap.blocks(), count) << n;
        EXPECT_GT(heap.blocks(), count / 2) << n << ": more than a thread keeps for reuse";
    }
    HeapCounter const heap;
    TVector<double> const empty;
    TVector<double> const copy = empty;
    EXPECT_EQ(heap.blocks(), 0U);
    EXPECT_EQ(addressOf(copy), nullptr);
}

TEST(TVector, IsEmptyAndOfUseAfterAMove)
{
    for (int const n : sizes) {
        SCOPED_TRACE(n);
        TVector<double> a = counting(n);
        double const* const buffer = addressOf(a);
        TVector<double> b = std::move(a);
        EXPECT_EQ(addressOf(b), buffer);
        EXPECT_TRUE(a.empty());
        EXPECT_EQ(a.begin(), a.end());
        a.zeroed();
        a.clear();
        TVector<double> const copyOfEmpty = a;
        EXPECT_EQ(copyOfEmpty.size(), 0U);

        a = counting(2);
        a = std::move(b);
        EXPECT_EQ(addressOf(a), buffer);
        EXPECT_TRUE(b.empty());
        TVector<double>& itself = a;
        a = std::move(itself);
        EXPECT_EQ(addressOf(a), buffer);
        b.init(a);
        EXPECT_EQ(b.getSize(), n);
    }
    Array c(2, 3);
    Array d = std::move(c);
    EXPECT_EQ(c.getRow() + c.getCol() + c.getSize(), 0);
    c = std::move(d);
    EXPECT_EQ(c.getCol(), 3);
    EXPECT_EQ(d.getRow() + d.getCol() + d.getSize(), 0);
}

TEST(TVector, SharesUntilTheFirstWrite)
{
    for (int const n : sizes) {
        SCOPED_TRACE(n);
        TVector<double> a = counting(n);
        TVector<double> b = a;
        TVector<double> c;
        c = b;
        EXPECT_EQ(addressOf(a), addressOf(b));
        EXPECT_EQ(addressOf(a), addressOf(c));
        EXPECT_EQ(c.getSize(), n);
        if (n == 0) continue;

        TVector<double> const& reader = b;
        EXPECT_EQ(reader[n - 1], n);
        EXPECT_EQ(addressOf(a), addressOf(b)) << "a read does not copy";

        b[n - 1] = -1.0;
        EXPECT_NE(addressOf(a), addressOf(b));
        EXPECT_EQ(addressOf(a), addressOf(c));
        EXPECT_EQ(reader[0], n == 1 ? -1.0 : 1.0);
        EXPECT_EQ(static_cast<TVector<double> const&>(a)[n - 1], n);

        double const* const own = addressOf(b);
        b[0] = 7.0;
        EXPECT_EQ(addressOf(b), own) << "a sole holder writes in place";
    }
}

TEST(TVector, EveryWritingAccessMakesPrivate)
{
    using Access = void (*)(TVector<double>&);
    Access const accesses[] = {
        [](TVector<double>& v) { v.begin(); },  [](TVector<double>& v) { v.end(); },
        [](TVector<double>& v) { v.data(); },   [](TVector<double>& v) { v.getDataPtr(); },
        [](TVector<double>& v) { v.zeroed(); }, [](TVector<double>& v) { v[1U] = 0.0; },
        [](TVector<double>& v) { v.clear(); },
    };
    for (Access const access : accesses) {
        TVector<double> const original = counting(5);
        TVector<double> copy = original;
        access(copy);
        EXPECT_NE(addressOf(copy), addressOf(original));
        for (int i = 0; i < 5; ++i) EXPECT_EQ(original[i], i + 1);
    }
}

TEST(TVector, InitCopiesAndReusesABlockOfTheSameSize)
{
    TVector<double> const source = counting(5);
    TVector<double> v = counting(5);
    double const* const block = addressOf(v);
    v.zeroed();
    v.init(source);
    EXPECT_EQ(addressOf(v), block);
    EXPECT_EQ(static_cast<TVector<double> const&>(v)[4], 5.0);

    v.init(static_cast<double const*>(nullptr), 5);
    EXPECT_EQ(v[4], 5.0) << "a null source leaves the values";
    v.init(v);
    EXPECT_EQ(addressOf(v), block);

    TVector<double> const sharer = v;
    v.init(sharer.begin() + 1, 3);  // from its own block, another size
    EXPECT_EQ(v.size(), 3U);
    EXPECT_EQ(v[0], 2.0);
    v.init(addressOf(v) + 1, 2U);
    EXPECT_EQ(v[1], 4.0);
    EXPECT_EQ(sharer[4], 5.0);
}

TEST(TVector, ClearLeavesSharersAlone)
{
    TVector<double> a = counting(4);
    TVector<double> const b = a;
    a.clear();
    EXPECT_EQ(a.size(), 0U);
    EXPECT_EQ(addressOf(a), nullptr);
    EXPECT_EQ(a.begin(), a.end());
    EXPECT_EQ(b[3], 4.0);
    EXPECT_EQ(addressOf(TVector<double>()), nullptr);
}

TEST(TVector, RefusesSizesThatNoBufferHolds)
{
    EXPECT_MATH_ERROR(TVector<double>(-1), "Invalid array size");
    EXPECT_MATH_ERROR(TVector<double>(INT_MAX), "Invalid array size");
    EXPECT_MATH_ERROR(TVector<double>(UINT_MAX), "Invalid array size");
    // The casts keep clang++ from reading declarations of max and min.
    EXPECT_MATH_ERROR(static_cast<void>(TVector<int>(std::numeric_limits<std::size_t>::max())),
                      "Invalid array size");
    EXPECT_MATH_ERROR(static_cast<void>(TVector<double>(std::numeric_limits<std::int64_t>::min())),
                      "Invalid array size");
    EXPECT_MATH_ERROR(Array(65536, 65536), "Invalid array size");
    EXPECT_MATH_ERROR(Array(-1, -1), "Invalid array size");
    EXPECT_MATH_ERROR(Array(4294967295U, 0U), "Invalid array size");

    TVector<double> v = counting(3);
    EXPECT_MATH_ERROR(v.init(addressOf(v), -1), "Invalid array size");
    EXPECT_EQ(v.size(), 3U);
}

TEST(TArray, IsRowMajorAndTakesEveryIntegerType)
{
    double const values[] = {1, 2, 3, 4, 5, 6};
    Array a(values, std::size_t{2}, 3U);
    EXPECT_EQ(a.getRow(), 2);
    EXPECT_EQ(a.getNbCol(), 3U);
    EXPECT_EQ(a.getLength(), 6);
    EXPECT_EQ(a[1][2], 6.0);
    EXPECT_EQ(a[1U][std::size_t{0}], 4.0);
    EXPECT_EQ(a.at(1, 2U), 6.0);

    Array b = a;
    double const* const shared = static_cast<Array const&>(a);
    EXPECT_EQ(static_cast<double const*>(static_cast<Array const&>(b)), shared);
    b[0][0] = 9.0;
    EXPECT_EQ(a[0][0], 1.0);

    b.init(values, 3, 2);
    EXPECT_EQ(b.getRow(), 3);
    EXPECT_EQ(b[2][1], 6.0);
    b = *&b;
    EXPECT_EQ(b.getCol(), 2);
    b.clear();
    EXPECT_EQ(b.getRow() + b.getCol() + b.getSize(), 0);
}

TEST(TArray, AtChecksBothIndicesAndAFailureDoesNotUnshare)
{
    Array a(2, 3);
    a.zeroed();
    Array const b = a;
    double const* const shared = b.begin();
    char const* const text = "Invalid index value";
    EXPECT_MATH_ERROR(a.at(-1, 0), text);
    EXPECT_MATH_ERROR(a.at(2, 0), text);
    EXPECT_MATH_ERROR(a.at(0, 3), text);
    EXPECT_MATH_ERROR(a.at(0U, UINT_MAX), text);
    EXPECT_MATH_ERROR(b.at(0, -1), text);
    EXPECT_EQ(static_cast<Array const&>(a).begin(), shared);
    a.at(1, 2) = 4.0;
    EXPECT_EQ(a.at(1U, 2U), 4.0);
    EXPECT_EQ(b.at(1, 2), 0.0);
}

}  // namespace
