#pragma once

#include <array>
#include <cmath>
#include <cstddef>

/// A number with its derivatives by up to nine variables: exact derivatives of any formula.
struct Dual {
    static constexpr std::size_t most = 9;

    double value = 0.0;
    std::array<double, most> by{};

    Dual() = default;
    Dual(double constant) : value(constant) {}  // implicit, as in formulas

    static Dual variable(double value, int index)
    {
        Dual x(value);
        x.by[static_cast<std::size_t>(index)] = 1.0;
        return x;
    }
};

/// f(a) and f(a, b) from the value and the partial derivatives.
inline Dual chain(double value, double da, Dual const& a, double db = 0.0, Dual const& b = {})
{
    Dual f(value);
    for (std::size_t i = 0; i < Dual::most; ++i) f.by[i] = da * a.by[i] + db * b.by[i];
    return f;
}

inline Dual operator+(Dual const& a, Dual const& b)
{
    return chain(a.value + b.value, 1, a, 1, b);
}
inline Dual operator-(Dual const& a, Dual const& b)
{
    return chain(a.value - b.value, 1, a, -1, b);
}
inline Dual operator-(Dual const& a)
{
    return chain(-a.value, -1, a);
}
inline Dual operator*(Dual const& a, Dual const& b)
{
    return chain(a.value * b.value, b.value, a, a.value, b);
}
inline Dual operator/(Dual const& a, Dual const& b)
{
    double const f = a.value / b.value;
    return chain(f, 1 / b.value, a, -f / b.value, b);
}
inline Dual exp(Dual const& a)
{
    double const f = std::exp(a.value);
    return chain(f, f, a);
}
inline Dual cos(Dual const& a)
{
    return chain(std::cos(a.value), -std::sin(a.value), a);
}
inline Dual sin(Dual const& a)
{
    return chain(std::sin(a.value), std::cos(a.value), a);
}
inline Dual atan(Dual const& a)
{
    return chain(std::atan(a.value), 1 / (1 + a.value * a.value), a);
}
inline Dual sqrt(Dual const& a)
{
    double const f = std::sqrt(a.value);
    return chain(f, 0.5 / f, a);
}
inline Dual pow(Dual const& a, Dual const& b)
{
    double const f = std::pow(a.value, b.value);
    return chain(f, b.value * f / a.value, a, std::log(a.value) * f, b);
}
