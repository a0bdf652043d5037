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
    using value_type = Point<T>;
    using size_type = std::size_t;
    using iterator = typename std::vector<Point<T>>::iterator;
    using const_iterator = typename std::vector<Point<T>>::const_iterator;

    void clear() noexcept { _points.clear(); }
    void reserve(size_type count) { _points.reserve(count); }
    void push_back(Point<T> const& point) { _points.push_back(point); }

    size_type size() const noexcept { return _points.size(); }
    bool empty() const noexcept { return _points.empty(); }

    Point<T>& operator[](size_type index) { return _points[index]; }
    Point<T> const& operator[](size_type index) const { return _points[index]; }
    Point<T>& front() { return _points.front(); }
    Point<T> const& front() const { return _points.front(); }
    Point<T>& back() { return _points.back(); }
    Point<T> const& back() const { return _points.back(); }

    iterator begin() noexcept { return _points.begin(); }
    iterator end() noexcept { return _points.end(); }
    const_iterator begin() const noexcept { return _points.begin(); }
    const_iterator end() const noexcept { return _points.end(); }
    const_iterator cbegin() const noexcept { return _points.cbegin(); }
    const_iterator cend() const noexcept { return _points.cend(); }

    friend bool operator==(ListPoint const& a, ListPoint const& b)
    {
        return a._points == b._points;
    }
    friend bool operator!=(ListPoint const& a, ListPoint const& b) { return !(a == b); }

private:
    std::vector<Point<T>> _points;
};

}  // namespace Pix
