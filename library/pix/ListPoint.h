#pragma once

#include "pix/Point.h"

#include <cstddef>
#include <vector>

namespace Pix {

/// An ordered list of planar points, such as the samples of a curve.
///
/// Complexities, iterator validity and preconditions are those of std::vector; operator[],
/// front() and back() are not checked.
template <class T>
class ListPoint {
public:
    using value_type = Point<T>;                                ///< Element type.
    using size_type = std::size_t;                              ///< Type of counts.
    using iterator = typename std::vector<Point<T>>::iterator;  ///< Iterator.
    /// Iterator for reading.
    using const_iterator = typename std::vector<Point<T>>::const_iterator;

    void clear() noexcept { _points.clear(); }                 ///< Removes every point.
    void reserve(size_type count) { _points.reserve(count); }  ///< Makes room.
    /// Appends a point at the end.
    void push_back(Point<T> const& point) { _points.push_back(point); }

    size_type size() const noexcept { return _points.size(); }  ///< Number of points.
    bool empty() const noexcept { return _points.empty(); }     ///< True without points.

    /// Point `index`, below `size()`.
    Point<T>& operator[](size_type index) { return _points[index]; }
    /// @copydoc operator[](size_type)
    Point<T> const& operator[](size_type index) const { return _points[index]; }
    Point<T>& front() { return _points.front(); }              ///< First point.
    Point<T> const& front() const { return _points.front(); }  ///< First point.
    Point<T>& back() { return _points.back(); }                ///< Last point.
    Point<T> const& back() const { return _points.back(); }    ///< Last point.

    iterator begin() noexcept { return _points.begin(); }              ///< First point.
    iterator end() noexcept { return _points.end(); }                  ///< One past the last point.
    const_iterator begin() const noexcept { return _points.begin(); }  ///< First point.
    const_iterator end() const noexcept { return _points.end(); }      ///< One past the last point.
    /// First point, for reading.
    const_iterator cbegin() const noexcept { return _points.cbegin(); }
    /// One past the last point, for reading.
    const_iterator cend() const noexcept { return _points.cend(); }

    /// Same coordinates.
    friend bool operator==(ListPoint const& a, ListPoint const& b)
    {
        return a._points == b._points;
    }
    /// Not `==`.
    friend bool operator!=(ListPoint const& a, ListPoint const& b) { return !(a == b); }

private:
    std::vector<Point<T>> _points;
};

}  // namespace Pix
