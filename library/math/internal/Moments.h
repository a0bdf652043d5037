#pragma once

#include "math/Matrix.h"
#include "math/Vector.h"

#include <cstddef>

/// Means and sums of products of points, in one pass over them. Their number and their distance
/// from the origin cost no digits.
namespace measuremath {

/// Mean and covariance of points.
struct Moments {
    Vector mean;
    Matrix covariance;  ///< Of the population: divided by the number of points.
};

/// The moments of n > 0 points of `dimension` coordinates.
/// @throws MathError `badSize` when a point has another size.
Moments momentsOf(Vector const* points, std::size_t n, int dimension, char const* badSize);

/// Moments of pairs (a, b) of points with three coordinates, all about the means.
struct PairMoments {
    Vector meanA;
    Vector meanB;
    Matrix products;  ///< Σ a·bᵀ, 3 × 3.
    double spreadA;   ///< Σ |a|²
    double spreadB;   ///< Σ |b|²
};

/// The moments of those of n pairs, one at least, whose flag is set; all when `used` is null.
/// @throws MathError `badSize` when a point of these has not three coordinates.
PairMoments momentsOfPairs(Vector const* a, Vector const* b, std::size_t n, bool const* used,
                           char const* badSize);

}  // namespace measuremath
