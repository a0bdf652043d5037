#pragma once

// Measured points around models, for our fits and those of the peers.

#include "math/Vector.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

inline constexpr double outlierShare = 0.3;
inline constexpr double sigma = 0.01;
inline constexpr double threshold = 0.05;

// What 30 % outliers, a success ratio of 0.99 and our samples of four and of two take.
inline constexpr int planeTrials = 16;
inline constexpr int lineTrials = 6;

// A tilted plane (the first two coordinates: a line) with noise; every tenth point of ten to three
// of ten lies off it.
inline std::vector<Vector> measuredPoints(int n, int dimension)
{
    std::mt19937 generator(1);
    std::uniform_real_distribution<double> uniform(-10.0, 10.0);
    std::normal_distribution<double> noise(0.0, sigma);
    std::vector<Vector> points;
    for (int i = 0; i < n; ++i) {
        double const x = uniform(generator);
        double const y = uniform(generator);
        double const off = i % 10 < 10 * outlierShare ? uniform(generator) : noise(generator);
        points.push_back(dimension == 2 ? Vector::of({x, 1.0 + 0.5 * x + off})
                                        : Vector::of({x, y, 1.0 + 0.1 * x - 0.2 * y + off}));
    }
    return points;
}

// Three quarters of an ellipse, circle or sphere around (5, 5, 5), with noise; with `outliers` some
// points of the box around it.
inline std::vector<Vector> roundPoints(int n, int dimension, double minor, double outliers)
{
    std::mt19937 generator(2);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    std::normal_distribution<double> noise(0.0, sigma);
    std::vector<Vector> points;
    for (int i = 0; i < n; ++i) {
        double const t = 4.7 * uniform(generator), off = noise(generator);
        double const z = dimension == 3 ? uniform(generator) : 0.0, rho = std::sqrt(1.0 - z * z);
        Vector p = Vector::of({5.0 + (4.0 + off) * rho * std::cos(t),
                               5.0 + (minor + off) * rho * std::sin(t), 5.0 + (4.0 + off) * z});
        if (i < outliers * n)
            p = 10.0 * Vector::of({uniform(generator), uniform(generator), uniform(generator)});
        points.push_back(p(0, dimension));
    }
    return points;
}

inline void requireAbout(double value, double expected, double tolerance, benchmark::State& state)
{
    if (!(std::abs(value - expected) <= tolerance)) state.SkipWithError("wrong result");
}
