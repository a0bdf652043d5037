#pragma once

#include "math/Allocator.h"
#include "math/Export.h"
#include "math/MathError.h"

#include <cassert>
#include <climits>
#include <cstddef>
#include <type_traits>
#include <utility>

namespace measuremath {

/// True for the types that count or index elements: every integer type, and enumerations that
/// convert to one.
template <class I>
inline constexpr bool isIndex = std::is_integral_v<I> ||
                                (std::is_enum_v<I> && std::is_convertible_v<I, int>);

/// Admits a template only when all its arguments count or index.
template <class... I>
using IfIndex = std::enable_if_t<(isIndex<I> && ...), int>;

/// The value of an index of any integer type, signed or unsigned, in one type where comparisons
/// and sums of two are exact. Values beyond 2^61, which no container reaches, are cut there.
template <class I>
constexpr long long indexValue(I i)
{
    constexpr long long limit = 1LL << 61;
    if constexpr (std::is_unsigned_v<I>) {
        return static_cast<unsigned long long>(i) < static_cast<unsigned long long>(limit)
                   ? static_cast<long long>(i)
                   : limit;
    } else {
        long long const value = static_cast<long long>(i);
        return value < -limit ? -limit : (value < limit ? value : limit);
    }
}

/// 0 <= i < n.
template <class I>
constexpr bool isInRange(I i, int n)
{
    return indexValue(i) >= 0 && indexValue(i) < n;
}

}  // namespace measuremath

/// One-dimensional array of T over a shared buffer with copy-on-write.
///
/// Copying and assigning share the buffer; the first access that may write, through a non-const
/// object, takes a private copy. Read through `const&` in hot code, and take the pointer of
/// `begin()` once before a loop: `a[i]` on a non-const array asks about ownership every time.
/// Sharing is for one thread: the counts of holders are plain integers.
///
/// Instantiated for double (the base of `Vector`) and int. Every count and index may be of any
/// integer type.
template <class T>
class TVector {
    static_assert(std::is_trivially_copyable_v<T>, "elements are copied as bytes");

public:
    using value_type = T;             ///< Element type, as of standard containers.
    using size_type = unsigned int;   ///< Type of `size()`.
    using iterator = T*;              ///< Non-const iterator.
    using const_iterator = T const*;  ///< Const iterator.

    /// Empty: size 0, `begin()` is null.
    TVector() noexcept = default;

    /// `n` elements, not initialised.
    /// @throws MathError "Invalid array size" when n is negative or n elements exceed 4 GiB.
    template <class N, measuremath::IfIndex<N> = 0>
    explicit TVector(N n) : _allocator(Allocator::make(byteCount(n)))
    {
    }

    /// Copy of `n` elements from `src`; not initialised when `src` is null.
    /// @throws MathError "Invalid array size" when n is negative or n elements exceed 4 GiB.
    template <class N, measuremath::IfIndex<N> = 0>
    TVector(T const* src, N n) : TVector(n)
    {
        _allocator->copy(src, _allocator->_size);
    }

    /// Shares the buffer of `other`.
    TVector(TVector const& other) noexcept : _allocator(other.shared()) {}

    /// Takes over the buffer of `other`, which is empty afterwards.
    TVector(TVector&& other) noexcept : _allocator(std::exchange(other._allocator, nullptr)) {}

    /// Shares the buffer of `other`.
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): it shares before it gives up its own
    TVector& operator=(TVector const& other) noexcept
    {
        replaceAllocator(other.shared());
        return *this;
    }

    /// Takes over the buffer of `other`, which is empty afterwards.
    TVector& operator=(TVector&& other) noexcept
    {
        replaceAllocator(std::exchange(other._allocator, nullptr));
        return *this;
    }

    /// Gives up this array's share of the buffer.
    virtual ~TVector() { replaceAllocator(nullptr); }

    /// Number of elements.
    unsigned int size() const { return byteSize() / static_cast<unsigned int>(sizeof(T)); }
    int getSize() const { return static_cast<int>(size()); }  ///< @copydoc size
    bool empty() const { return size() == 0; }                ///< True when there is no element.

    /// Element `i`, for writing or for reading. The index is not checked.
    template <class I, measuremath::IfIndex<I> = 0>
    T& operator[](I i)
    {
        assert(measuremath::isInRange(i, getSize()));
        return begin()[i];
    }
    /// For reading.
    template <class I, measuremath::IfIndex<I> = 0>
    T const& operator[](I i) const
    {
        assert(measuremath::isInRange(i, getSize()));
        return begin()[i];
    }

    /// First element for writing: after this call the buffer belongs to this array alone.
    T* begin()
    {
        makePrivate();
        return elements();
    }
    T* data() { return begin(); }        ///< @copydoc begin()
    T* getDataPtr() { return begin(); }  ///< @copydoc begin()

    /// First element for reading: never copies; valid until the next write.
    T const* begin() const { return elements(); }
    T const* data() const { return elements(); }        ///< @copydoc begin() const
    T const* getDataPtr() const { return elements(); }  ///< @copydoc begin() const
    T const* cbegin() const { return elements(); }      ///< @copydoc begin() const

    /// One past the last element; the non-const form makes the buffer private, as `begin()` does.
    T* end() { return begin() + size(); }
    T const* end() const { return elements() + size(); }   ///< @copydoc end()
    T const* cend() const { return elements() + size(); }  ///< @copydoc end()

    /// Sets every element to 0.
    void zeroed()
    {
        makePrivate();
        if (_allocator != nullptr) _allocator->zeroed(_allocator->_data, _allocator->_size);
    }

    /// Empties this array; others that shared its buffer keep their values.
    void clear() { replaceAllocator(nullptr); }

    /// Copies the elements of `src` into storage of this array's own; never shares.
    void init(TVector const& src)
    {
        if (this != &src) init(src.begin(), src.size());
    }

    /// Copies `n` elements from `src`, which may lie in this array. The block is reused when the
    /// size stays the same. With a null `src` the elements are left as they were, or, when the
    /// size changes, not initialised.
    /// @throws MathError "Invalid array size" when n is negative or n elements exceed 4 GiB.
    template <class N, measuremath::IfIndex<N> = 0>
    void init(T const* src, N n)
    {
        unsigned int const bytes = byteCount(n);
        if (_allocator == nullptr || byteSize() != bytes) {
            *this = TVector(src, n);
        } else {
            makePrivate();
            _allocator->copy(src, bytes);
        }
    }

protected:
    /// The elements for writing where nobody else can hold the buffer: that of a new array.
    T* ownElements() { return elements(); }

private:
    unsigned int byteSize() const { return _allocator == nullptr ? 0 : _allocator->_size; }

    T* elements() const
    {
        return _allocator == nullptr ? nullptr : static_cast<T*>(_allocator->_data);
    }

    // The only place that un-shares.
    void makePrivate()
    {
        if (_allocator != nullptr && _allocator->isShared()) _allocator = _allocator->getOwnCopy();
    }

    Allocator* shared() const noexcept
    {
        if (_allocator != nullptr) _allocator->share();
        return _allocator;
    }

    void replaceAllocator(Allocator* next) noexcept
    {
        if (_allocator != nullptr) _allocator->release();
        _allocator = next;
    }

    template <class N>
    static unsigned int byteCount(N n)
    {
        constexpr int most = INT_MAX / static_cast<int>(sizeof(T)) * 2;
        measuremath::require(measuremath::isInRange(n, most), "Invalid array size");
        return static_cast<unsigned int>(n) * static_cast<unsigned int>(sizeof(T));
    }

    Allocator* _allocator = nullptr;  // none in an array that never had elements, or gave them away
};

/// Two-dimensional array over a `TVector`: element (r, c), row-major, at index r · columns + c.
///
/// The number of elements always is rows · columns.
template <class T>
class TArray : public TVector<T> {
public:
    /// 0 × 0.
    TArray() = default;

    /// `rows` × `cols` elements, not initialised.
    /// @throws MathError "Invalid array size" when a count is negative or the array exceeds 4 GiB.
    template <class R, class C, measuremath::IfIndex<R, C> = 0>
    TArray(R rows, C cols)
        : TVector<T>(elementCount(rows, cols)),
          _nbRow(static_cast<int>(rows)),
          _nbCol(static_cast<int>(cols))
    {
    }

    /// Copy of `rows` · `cols` elements from `src`, row after row; not initialised when it is null.
    /// @throws MathError "Invalid array size" when a count is negative or the array exceeds 4 GiB.
    template <class R, class C, measuremath::IfIndex<R, C> = 0>
    TArray(T const* src, R rows, C cols)
        : TVector<T>(src, elementCount(rows, cols)),
          _nbRow(static_cast<int>(rows)),
          _nbCol(static_cast<int>(cols))
    {
    }

    /// Shares the buffer of `other`.
    TArray(TArray const& other) = default;

    /// Takes over the buffer of `other`, which is 0 × 0 afterwards.
    TArray(TArray&& other) noexcept
        : TVector<T>(std::move(other)),
          _nbRow(std::exchange(other._nbRow, 0)),
          _nbCol(std::exchange(other._nbCol, 0))
    {
    }

    /// Shares the buffer of `other` and takes its dimensions.
    TArray& operator=(TArray const& other) = default;

    /// Takes over the buffer of `other`, which is 0 × 0 afterwards.
    TArray& operator=(TArray&& other) noexcept
    {
        _nbRow = std::exchange(other._nbRow, 0);
        _nbCol = std::exchange(other._nbCol, 0);
        TVector<T>::operator=(std::move(other));
        return *this;
    }

    ~TArray() override = default;

    /// Number of elements, rows · columns.
    int getLength() const { return _nbRow * _nbCol; }

    int getRow() const { return _nbRow; }  ///< Number of rows.
    int getCol() const { return _nbCol; }  ///< Number of columns.
    unsigned int getNbRow() const
    {
        return static_cast<unsigned int>(_nbRow);
    }  ///< Number of rows.
    unsigned int getNbCol() const
    {
        return static_cast<unsigned int>(_nbCol);
    }  ///< Number of columns.

    operator T*() { return this->begin(); }              ///< First element, as `begin()`.
    operator T const*() const { return this->begin(); }  ///< First element, as `begin()`.

    /// First element of row `r`, for writing or for reading. The index is not checked.
    template <class I, measuremath::IfIndex<I> = 0>
    T* operator[](I r)
    {
        assert(measuremath::isInRange(r, _nbRow));
        return this->begin() + rowStart(r);
    }
    /// For reading.
    template <class I, measuremath::IfIndex<I> = 0>
    T const* operator[](I r) const
    {
        assert(measuremath::isInRange(r, _nbRow));
        return this->begin() + rowStart(r);
    }

    /// Element (r, c), checked in every build.
    /// @throws MathError "Invalid index value" when r or c is outside the array.
    template <class R, class C, measuremath::IfIndex<R, C> = 0>
    T& at(R r, C c)
    {
        requireInside(r, c);
        return (*this)[r][c];
    }
    /// For reading.
    template <class R, class C, measuremath::IfIndex<R, C> = 0>
    T const& at(R r, C c) const
    {
        requireInside(r, c);
        return (*this)[r][c];
    }

    /// Empties this array: 0 × 0.
    void clear()
    {
        TVector<T>::clear();
        _nbRow = _nbCol = 0;
    }

    /// Copies the elements and dimensions of `src`; never shares.
    void init(TArray const& src)
    {
        if (this != &src) init(src.begin(), src._nbRow, src._nbCol);
    }

    /// Copies `rows` · `cols` elements from `src`, row after row, as `TVector::init` does.
    /// @throws MathError "Invalid array size" when a count is negative or the array exceeds 4 GiB.
    template <class R, class C, measuremath::IfIndex<R, C> = 0>
    void init(T const* src, R rows, C cols)
    {
        TVector<T>::init(src, elementCount(rows, cols));
        _nbRow = static_cast<int>(rows);
        _nbCol = static_cast<int>(cols);
    }

protected:
    /// Exchanges the two counts, for a derived class that has transposed the elements.
    void swapDimensions()
    {
        int const rows = _nbRow;
        _nbRow = _nbCol;
        _nbCol = rows;
    }

private:
    template <class I>
    std::ptrdiff_t rowStart(I r) const
    {
        return static_cast<std::ptrdiff_t>(r) * _nbCol;
    }

    template <class R, class C>
    void requireInside(R r, C c) const
    {
        measuremath::require(measuremath::isInRange(r, _nbRow) && measuremath::isInRange(c, _nbCol),
                             "Invalid index value");
    }

    template <class R, class C>
    static long long elementCount(R rows, C cols)
    {
        measuremath::require(
            measuremath::isInRange(rows, INT_MAX) && measuremath::isInRange(cols, INT_MAX),
            "Invalid array size");
        return static_cast<long long>(rows) * static_cast<long long>(cols);
    }

    int _nbRow = 0;
    int _nbCol = 0;
};

extern template class MEASUREMATH_API TVector<double>;
extern template class MEASUREMATH_API TVector<int>;
extern template class MEASUREMATH_API TArray<double>;
