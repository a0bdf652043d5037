#pragma once

#include <array>
#include <cmath>
#include <cstddef>

/// A number with its derivatives by up to nine variables: exact derivatives of any formula.
struct Dual {
    static constexpr std::size_t most = 9;

    double value = 0.0;
    std::array<double, most> by{};

    Dual(double constant = 0.0) : value(constant) {}  // implicit, as in formulas

    /// f(a, b) from its value and its partial derivatives.
    Dual(double f, double fa, Dual const& a, double fb = 0.0, Dual const& b = {}) : value(f)
    {
        for (std::size_t i = 0; i < most; ++i) by[i] = fa * a.by[i] + fb * b.by[i];
    }

    friend Dual operator-(Dual const& a) { return {-a.value, -1, a}; }
    friend Dual operator+(Dual const& a, Dual const& b) { return {a.value + b.value, 1, a, 1, b}; }
    friend Dual operator-(Dual const& a, Dual const& b) { return {a.value - b.value, 1, a, -1, b}; }
    friend Dual operator*(Dual const& a, Dual const& b)
    {
        return {a.value * b.value, b.value, a, a.value, b};
    }
    friend Dual operator/(Dual const& a, Dual const& b)
    {
        double const f = a.value / b.value;
        return {f, 1 / b.value, a, -f / b.value, b};
    }
    friend Dual exp(Dual const& a) { return {std::exp(a.value), std::exp(a.value), a}; }
    friend Dual sqrt(Dual const& a) { return {std::sqrt(a.value), 0.5 / std::sqrt(a.value), a}; }
    friend Dual cos(Dual const& a) { return {std::cos(a.value), -std::sin(a.value), a}; }
    friend Dual sin(Dual const& a) { return {std::sin(a.value), std::cos(a.value), a}; }
    friend Dual atan(Dual const& a) { return {std::atan(a.value), 1 / (1 + a.value * a.value), a}; }
    friend Dual pow(Dual const& a, Dual const& b)
    {
        double const f = std::pow(a.value, b.value);
        return {f, b.value * f / a.value, a, std::log(a.value) * f, b};
    }
};
