#pragma once

#include "math/Matrix.h"

#include <benchmark/benchmark.h>

#include <cmath>

/// Marks the case as failed unless `ok`: a fast wrong answer is no result.
inline void requireRight(bool ok, benchmark::State& state)
{
    if (!ok) state.SkipWithError("wrong result");
}

/// Whether |actual - expected| is within `tolerance` of |expected|, for numbers, vectors and
/// matrices.
inline bool isClose(double actual, double expected, double tolerance = 1e-12)
{
    return std::abs(actual - expected) <= tolerance * std::abs(expected);
}
inline bool isClose(Vector const& actual, Vector const& expected, double tolerance = 1e-12)
{
    return (actual - expected).length() <= tolerance * expected.length();
}
inline bool isClose(Matrix const& actual, Matrix const& expected, double tolerance = 1e-12)
{
    return (actual - expected).frobeniusNorm() <= tolerance * expected.frobeniusNorm();
}
