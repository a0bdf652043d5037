#pragma once

namespace Pix {

/// A point of the plane.
template <class T>
struct Point {
    T x{};
    T y{};

    constexpr Point() = default;
    constexpr Point(T x_, T y_) : x(x_), y(y_) {}

    friend constexpr bool operator==(Point const& a, Point const& b)
    {
        return a.x == b.x && a.y == b.y;
    }
    friend constexpr bool operator!=(Point const& a, Point const& b) { return !(a == b); }
};

}  // namespace Pix
