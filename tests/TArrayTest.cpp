#include "math/Allocator.h"
#include "math/TArray.h"

#include "support/HeapCounter.h"
#include "support/MathErrorExpectations.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
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

// Opens the protected members.
struct OpenAllocator : Allocator {
    using Allocator::_data;
    using Allocator::_size;
    using Allocator::Allocator;

    double operator[](int i) const { return static_cast<double*>(_data)[i]; }
};

// Blocks of up to 16 doubles are kept for reuse.
int const sizes[] = {0, 1, 3, 4, 5, 9, 16, 17, 100};

TEST(Allocator, BufferCallsWorkOnTheObjectItself)
{
    double const values[] = {1.0, 2.0, 3.0};
    auto* const a = new OpenAllocator(0, nullptr);
    EXPECT_NE(a->_data, nullptr) << "a block for size zero, too";
    EXPECT_EQ(a->_size, 0U);
    a->deallocate();
    a->deallocate();
    EXPECT_EQ(a->_data, nullptr);
    a->copy(values, sizeof values);  // nothing to copy into

    a->allocate(values, sizeof values);
    EXPECT_EQ(a->_size, sizeof values);
    EXPECT_TRUE((*a)[0] == 1.0 && (*a)[2] == 3.0);
    a->copy(values + 1, sizeof(double));
    a->copy(nullptr, sizeof values);
    EXPECT_TRUE((*a)[0] == 2.0 && (*a)[1] == 2.0);
    double elsewhere[] = {4.0, 5.0};
    a->zeroed(elsewhere, sizeof(double));
    EXPECT_TRUE(elsewhere[0] == 0.0 && elsewhere[1] == 5.0);
    EXPECT_EQ(a->getOwnCopy(), a) << "the sole holder keeps its buffer";
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
    EXPECT_EQ(copy.begin(), nullptr);
}

TEST(TVector, IsEmptyAndOfUseAfterAMove)
{
    for (int const n : sizes) {
        SCOPED_TRACE(n);
        TVector<double> a = counting(n);
        double const* const buffer = a.cbegin();
        TVector<double> b = std::move(a);
        EXPECT_EQ(b.cbegin(), buffer);
        EXPECT_TRUE(a.empty());
        EXPECT_EQ(a.begin(), a.end());
        a.zeroed();
        a.clear();
        TVector<double> const copyOfEmpty = a;
        EXPECT_EQ(copyOfEmpty.size(), 0U);

        a = counting(2);
        a = std::move(b);
        EXPECT_EQ(a.cbegin(), buffer);
        EXPECT_TRUE(b.empty());
        TVector<double>& itself = a;
        a = std::move(itself);
        EXPECT_EQ(a.cbegin(), buffer);
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

TEST(TVector, SharesUntilAWritingAccess)
{
    using Access = void (*)(TVector<double>&);
    Access const accesses[] = {
        [](auto& v) { v.begin(); },  [](auto& v) { v.end(); },     [](auto& v) { v.data(); },
        [](auto& v) { v.zeroed(); }, [](auto& v) { v[0U] = 0.0; }, [](auto& v) { v.getDataPtr(); },
        [](auto& v) { v.clear(); },
    };
    for (int const n : sizes) {
        SCOPED_TRACE(n);
        TVector<double> const original = counting(n);
        for (Access const access : accesses) {
            TVector<double> copy = original, assigned;
            TVector<double> const& reader = copy;
            assigned = copy;
            EXPECT_EQ(assigned.getSize(), n);
            if (n == 0) continue;
            EXPECT_EQ(reader[n - 1], n);
            EXPECT_TRUE(reader.begin() == original.begin() && reader.end() == original.end());
            EXPECT_TRUE(reader.data() == original.begin() && assigned.cend() == original.end());
            access(copy);
            EXPECT_NE(reader.begin(), original.begin());
            EXPECT_EQ(assigned.cbegin(), original.begin());
            for (int i = 0; i < n; ++i) ASSERT_EQ(original[i], i + 1);
            double const* const own = reader.begin();
            access(copy);
            EXPECT_EQ(reader.begin(), own) << "a sole holder writes in place";
        }
        TVector<double> written = original;
        if (n > 1) written[n - 1] = -1.0;
        for (int i = 0; i + 1 < n; ++i) ASSERT_EQ(written[i], i + 1);
    }
}

TEST(TVector, InitCopiesAndReusesABlockOfTheSameSize)
{
    TVector<double> const source = counting(5);
    TVector<double> v = counting(5);
    double const* const block = v.cbegin();
    v.zeroed();
    v.init(source);
    v.init(static_cast<double const*>(nullptr), 5);
    v.init(v);
    EXPECT_EQ(v.cbegin(), block);
    EXPECT_EQ(v[4], 5.0) << "a null source leaves the values";

    TVector<double> const sharer = v;
    v.init(sharer.begin() + 1, 3);  // from its own block, another size
    EXPECT_EQ(v.size(), 3U);
    EXPECT_EQ(v[0], 2.0);
    v.init(v.cbegin() + 1, 2U);
    EXPECT_EQ(v[1], 4.0);
    EXPECT_EQ(sharer[4], 5.0);
}

TEST(TVector, RefusesSizesThatNoBufferHolds)
{
    char const* const text = "Invalid array size";
    EXPECT_MATH_ERROR(TVector<double>(-1), text);
    EXPECT_MATH_ERROR(TVector<double>(INT_MAX), text);
    EXPECT_MATH_ERROR(TVector<double>(UINT_MAX), text);
    EXPECT_MATH_ERROR(TVector<int>{SIZE_MAX}, text);
    EXPECT_MATH_ERROR(TVector<double>{INT64_MIN}, text);
    EXPECT_MATH_ERROR(Array(65536, 65536), text);
    EXPECT_MATH_ERROR(Array(-1, -1), text);
    EXPECT_MATH_ERROR(Array(4294967295U, 0U), text);

    TVector<double> v = counting(3);
    EXPECT_MATH_ERROR(v.init(v.cbegin(), -1), text);
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

    Array b = a;
    EXPECT_EQ(static_cast<double const*>(static_cast<Array const&>(b)), a.cbegin());
    b[0][0] = 9.0;
    EXPECT_EQ(a[0][0], 1.0);
    b.init(values, 3, 2);
    EXPECT_EQ(b[2][1], 6.0);
    b = *&b;
    EXPECT_EQ(b.getRow(), 3);
    EXPECT_EQ(b.getCol(), 2);
    b.clear();
    EXPECT_EQ(b.getRow() + b.getCol() + b.getSize(), 0);
}

TEST(TArray, AtChecksBothIndicesAndAFailureDoesNotUnshare)
{
    Array a(2, 3);
    a.zeroed();
    Array const b = a;
    char const* const text = "Invalid index value";
    EXPECT_MATH_ERROR(a.at(-1, 0), text);
    EXPECT_MATH_ERROR(a.at(2, 0), text);
    EXPECT_MATH_ERROR(a.at(0, 3), text);
    EXPECT_MATH_ERROR(a.at(0U, UINT_MAX), text);
    EXPECT_MATH_ERROR(b.at(0, -1), text);
    EXPECT_EQ(a.cbegin(), b.begin());
    a.at(1, 2) = 4.0;
    EXPECT_EQ(a.at(1U, 2U), 4.0);
    EXPECT_EQ(b.at(1, 2), 0.0);
}

}  // namespace
