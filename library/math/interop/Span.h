#pragma once

/// @file
/// Views of arrays as `std::span`, without copies. Declares nothing before C++20.
///
///     for (double const x : measuremath::asSpan(std::as_const(v)).subspan(3)) ...
///
/// A view is of the elements, row after row for a matrix. One taken for writing un-shares the
/// array first and is valid until the array is next copied, written through another name, or
/// destroyed: a copy taken in between would share what the view writes.

#include "math/TArray.h"

#if __has_include(<version>)
#include <version>
#endif

#ifdef __cpp_lib_span
#include <span>

namespace measuremath {

/// The elements of `array`, for writing.
template <class T>
std::span<T> asSpan(TVector<T>& array)
{
    return {array.begin(), array.size()};
}

/// The elements of `array`, for reading; never copies. Valid until the next write.
template <class T>
std::span<T const> asSpan(TVector<T> const& array)
{
    return {array.begin(), array.size()};
}

/// A view of a temporary would dangle.
template <class T>
std::span<T const> asSpan(TVector<T> const&& array) = delete;

}  // namespace measuremath
#endif
