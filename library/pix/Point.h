#pragma once

namespace Pix {

/// A point of the plane.
template <class T>
struct Point {
    T x{};  ///< First coordinate.
    T y{};  ///< Second coordinate.

    constexpr Point() = default;
    /// The point (x, y).
    constexpr Point(T x_, T y_) : x(x_), y(y_) {}

    /// Same coordinates.
    friend constexpr bool operator==(Point const& a, Point const& b)
    {
        return a.x == b.x && a.y == b.y;
    }
    /// Not `==`.
    friend constexpr bool operator!=(Point const& a, Point const& b) { return !(a == b); }
};

}  // namespace Pix
