#pragma once

#include "math/MathError.h"
#include "math/Matrix.h"
#include "math/Vector.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <limits>
#include <span>
#include <vector>

/// Turns the bytes of a fuzzer into sizes, numbers, vectors and matrices. When they are used up,
/// everything that follows is zero.
class FuzzInput {
public:
    explicit FuzzInput(std::span<std::uint8_t const> bytes) : _bytes(bytes) {}

    bool empty() const { return _bytes.empty(); }

    unsigned int byte()
    {
        if (_bytes.empty()) return 0;
        unsigned int const value = _bytes.front();
        _bytes = _bytes.subspan(1);
        return value;
    }

    bool flag() { return byte() % 2 == 1; }

    /// One of {low, ..., high}, at most 256 of them.
    int integer(int low, int high)
    {
        return low + static_cast<int>(byte() % static_cast<unsigned int>(high - low + 1));
    }

    /// Mostly a multiple of 1/8 below 14, by one byte, so that coincidences are frequent; else a
    /// number that arithmetic finds hard, or any bit pattern.
    double number()
    {
        using Limits = std::numeric_limits<double>;
        static constexpr std::array hard = {Limits::quiet_NaN(),
                                            Limits::infinity(),
                                            -Limits::infinity(),
                                            Limits::max(),
                                            Limits::lowest(),
                                            Limits::denorm_min(),
                                            -0.0,
                                            Limits::min(),
                                            Limits::epsilon(),
                                            1.0 + Limits::epsilon(),
                                            1e160,
                                            1e-160,
                                            1e8,
                                            1e-8,
                                            1.0 / 3.0,
                                            3.141592653589793};
        constexpr unsigned int firstAny = firstHard + hard.size();
        unsigned int const kind = byte();
        if (kind < firstHard) return eighths(kind);
        return kind < firstAny ? hard[kind - firstHard] : anyBits();
    }

    /// Between -14 and 14: as `number` makes them mostly, else with 16 bits.
    double coordinate()
    {
        unsigned int const kind = byte();
        if (kind < firstHard) return eighths(kind);
        unsigned int const high = byte();
        return (256.0 * high + byte() - 32768.0) * 14.0 / 32768.0;
    }

    Vector vector(int n) { return vectorOf(n, &FuzzInput::number); }
    Vector point(int n) { return vectorOf(n, &FuzzInput::coordinate); }

    Matrix matrix(int rows, int cols)
    {
        Matrix m(rows, cols, Matrix::NO_INIT);
        for (double& value : m) value = number();
        return m;
    }

    std::vector<Vector> vectors(int count, int n) { return collect(count, n, &FuzzInput::vector); }
    std::vector<Vector> points(int count, int n) { return collect(count, n, &FuzzInput::point); }

private:
    static constexpr unsigned int firstHard = 226;  // the first byte that is no multiple of 1/8

    static double eighths(unsigned int kind)
    {
        constexpr unsigned int zero = firstHard / 2;
        return (static_cast<double>(kind) - zero) / 8.0;
    }

    Vector vectorOf(int n, double (FuzzInput::*element)())
    {
        Vector v(n, Vector::NO_INIT);
        for (double& value : v) value = (this->*element)();
        return v;
    }

    std::vector<Vector> collect(int count, int n, Vector (FuzzInput::*element)(int))
    {
        std::vector<Vector> result;
        result.reserve(static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) result.push_back((this->*element)(n));
        return result;
    }

    double anyBits()
    {
        std::uint64_t bits = 0;
        for (int i = 0; i < 8; ++i) bits = bits << 8 | byte();
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }

    std::span<std::uint8_t const> _bytes;
};

/// Ends the run, which the fuzzer reports with the input, unless `holds`.
inline void check(bool holds, int line = __builtin_LINE(), char const* file = __builtin_FILE())
{
    if (holds) return;
    std::cerr << file << ':' << line << ": does not hold\n";
    std::abort();
}

/// Whether |a - b| is at most `tolerance`; not for NaN.
inline bool isNear(double a, double b, double tolerance)
{
    return std::abs(a - b) <= tolerance;
}

/// What a fuzz target defines: operations on one input, which may end in a MathError.
void fuzz(FuzzInput& input);
