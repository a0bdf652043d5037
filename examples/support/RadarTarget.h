#pragma once

#include "math/Matrix.h"
#include "support/Points.h"

#include <cmath>
#include <random>
#include <vector>

/// Made data: a target on a curved way, seen every second from the origin by range and bearing.
namespace radar {

constexpr double rangeSigma = 0.5;     ///< In metres.
constexpr double bearingSigma = 0.05;  ///< In radians.

/// Covariance of what is seen.
inline Matrix const noise =
    Matrix::of({{rangeSigma * rangeSigma, 0.0}, {0.0, bearingSigma* bearingSigma}});

struct Sighting {
    Vector at;    ///< Where the target is, in metres.
    Vector seen;  ///< Its range and bearing.
};

inline std::vector<Sighting> sightings()
{
    std::mt19937 generator(4);
    std::normal_distribution<double> normal;
    std::vector<Sighting> result;
    for (int k = 1; k <= 60; ++k) {
        Vector const at = Vector::of({-60.0 + 2.0 * k, 40.0 + 25.0 * std::sin(0.1 * k)});
        double const range = at.length() + rangeSigma * normal(generator);
        double const bearing = std::atan2(at[1], at[0]) + bearingSigma * normal(generator);
        result.push_back({at, Vector::of({range, bearing})});
    }
    return result;
}

}  // namespace radar
