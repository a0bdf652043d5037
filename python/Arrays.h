#pragma once

/// @file
/// How vectors and matrices cross between Python and the library. Every source of the module
/// includes it first, so that one set of conversions holds in all of them.
///
/// In:  whatever takes a Vector or a Matrix takes an array of real numbers or nested sequences too,
///      copied once. A list of points is an n × d array or a sequence of n vectors.
/// Out: by value, which shares the storage until the first write.
///
/// A Python view (numpy array, memoryview) holds the address of the elements, where copy-on-write
/// cannot see its writes. While an object has views
///
///   - its storage is its own: the first view un-shares it, and whatever would share it later gets
///     a copy of the elements instead (`detached`). All reads by the library go through const
///     access, whose conversions below see to that;
///   - its storage stays where it is: every change goes through `mutate`.

#include "math/MathError.h"
#include "math/Matrix.h"
#include "math/MatrixR.h"
#include "math/MatrixTH.h"
#include "math/Vector.h"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

namespace measuremath::python {

namespace py = pybind11;

/// Whether a Python object views the storage of `array`.
bool isViewed(TVector<double> const& array);

/// A copy that shares nothing.
template <class Array>
Array detached(Array const& array)
{
    Array copy(array);
    copy.begin();
    return copy;
}

/// Changes `array` by `change(array)`, in the same storage where Python views it.
/// @throws MathError "Viewed from Python, its size must stay" when `change` would move the views.
template <class Array, class Change>
void mutate(Array& array, Change change)
{
    if (!isViewed(array)) {
        change(array);
        return;
    }
    Array changed = detached(array);
    change(changed);
    require(changed.size() == array.size(), "Viewed from Python, its size must stay");
    std::copy(std::as_const(changed).begin(), std::as_const(changed).end(), array.begin());
}

/// The array of `source` as C-contiguous double, of `ndim` dimensions; empty where it is none, or
/// where its elements are not real numbers.
std::optional<py::array_t<double>> asDoubles(py::handle source, int ndim);

/// @name What an array, or a sequence, is as the type of the result; false when it is not.
/// @{
bool fromPython(py::handle source, std::optional<Vector>& result);
bool fromPython(py::handle source, std::optional<Matrix>& result);
bool fromPython(py::handle source, std::optional<MatrixR>& result);   ///< 3 × 3
bool fromPython(py::handle source, std::optional<MatrixTH>& result);  ///< 4 × 4
bool fromPython(py::handle source, std::vector<Vector>& result);      ///< One vector a row.
/// Three numbers do not tell which parameterisation they are: the others are never guessed.
template <class Rotation>
bool fromPython(py::handle, std::optional<Rotation>&)
{
    return false;
}
/// @}

/// The points as rows of a matrix, `dimension` columns where there is none.
Matrix rowsOf(std::vector<Vector> const& points, int dimension);

/// The view of an object as an array of numpy.
py::array asArray(py::handle viewed);

/// @name Sizes that the library only asserts
/// @{

/// @throws MathError "Bad vector dimensions" unless `v` has at least `n` elements.
inline Vector const& atLeast(int n, Vector const& v)
{
    require(v.getSize() >= n, Vector::badDim);
    return v;
}

/// @throws MathError "Bad matrix dimensions" unless `m` has at least `rows` × `cols` elements.
inline Matrix const& atLeast(int rows, int cols, Matrix const& m)
{
    require(m.getRow() >= rows && m.getCol() >= cols, Matrix::badDim);
    return m;
}

/// @throws IndexError unless 0 <= i < n; counts from the end where i is negative.
inline int checkedIndex(py::ssize_t i, int n)
{
    if (i < 0) i += n;
    if (i < 0 || i >= n) throw py::index_error("index out of range");
    return static_cast<int>(i);
}
/// @}

}  // namespace measuremath::python

namespace pybind11::detail {

/// Conversion of the array types. Const access gets a copy where the object is viewed; other access
/// is to the object itself, and so never to one made from an array.
template <class T>
class viewable_caster : public type_caster_base<T> {
    using Base = type_caster_base<T>;

public:
    bool load(handle source, bool convert)
    {
        if (isinstance<T>(source)) return isConstructed(source) && Base::load(source, convert);
        return convert && measuremath::python::fromPython(source, _own);
    }

    template <class U>
    using cast_op_type = std::conditional_t<
        std::is_pointer_v<std::remove_reference_t<U>>,
        std::conditional_t<std::is_const_v<std::remove_pointer_t<std::remove_reference_t<U>>>,
                           T const*, T*>,
        std::conditional_t<std::is_lvalue_reference_v<U> &&
                               !std::is_const_v<std::remove_reference_t<U>>,
                           T&, T const&>>;

    operator T*() { return _own ? throw reference_cast_error() : object(); }
    operator T&() { return checked(operator T*()); }

    operator T const*()
    {
        if (!_own && object() && measuremath::python::isViewed(*object()))
            _own = measuremath::python::detached(*object());
        return _own ? &*_own : object();
    }
    operator T const&() { return checked(operator T const*()); }

private:
    // False of what T.__new__(T) gives.
    static bool isConstructed(handle source)
    {
        // NOLINTNEXTLINE(readability-use-anyofallof): its iterators are none of the standard's
        for (auto const& part : values_and_holders(reinterpret_cast<instance*>(source.ptr())))
            if (!part.holder_constructed()) return false;
        return true;
    }

    T* object() { return static_cast<T*>(this->value); }

    template <class U>
    static U& checked(U* object)
    {
        return object ? *object : throw reference_cast_error();
    }

    std::optional<T> _own;  // from an array, or apart from views
};

// clang-format off
template <> class type_caster<Vector> : public viewable_caster<Vector> {};
template <> class type_caster<Euler> : public viewable_caster<Euler> {};
template <> class type_caster<Quaternion> : public viewable_caster<Quaternion> {};
template <> class type_caster<VectorR> : public viewable_caster<VectorR> {};
template <> class type_caster<Matrix> : public viewable_caster<Matrix> {};
template <> class type_caster<MatrixR> : public viewable_caster<MatrixR> {};
template <> class type_caster<MatrixTH> : public viewable_caster<MatrixTH> {};
// clang-format on

/// A list of points; arguments only.
template <>
class type_caster<std::vector<Vector>> {
public:
    PYBIND11_TYPE_CASTER(std::vector<Vector>, const_name("numpy.ndarray[n, d]"));

    bool load(handle source, bool convert)
    {
        return convert && measuremath::python::fromPython(source, value);
    }
    static handle cast(std::vector<Vector> const&, return_value_policy, handle) = delete;
};

}  // namespace pybind11::detail
