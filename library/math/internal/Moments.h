#pragma once

#include "math/Matrix.h"
#include "math/Vector.h"

#include <cstddef>

namespace measuremath {

/// Number, mean and centred sums of products of a set of points.
struct Moments {
    std::size_t count = 0;
    Vector mean;     ///< One element a coordinate.
    Matrix scatter;  ///< Σ (x - mean)·(x - mean)ᵀ, upper triangle only.

    /// Joins the points of `other`.
    void merge(Moments const& other);

    /// Covariance of the population: the full scatter divided by the number of points.
    Matrix covariance() const;
};

/// The moments, relative to `origin`, of `count` points whose coordinate k lies at
/// block[k · stride + i]. Leaves the block centred.
Moments momentsOfBlock(double* block, std::size_t stride, std::size_t count, Vector const& origin);

/// Collects the moments of points, reading each once and in order.
///
/// Blocks that fit in the first-level cache are centred on their own mean, and halves are merged
/// (Chan, Golub, LeVeque 1983), so that rounding grows with the logarithm of the number of points.
/// All is relative to the first point: the distance from the origin costs no digits.
///
/// `Read` is called as read(i, x, stride): it puts coordinate k of point i at x[k · stride] and
/// returns true, or returns false for a point that is not in the set.
template <class Read>
class MomentsCollector {
public:
    MomentsCollector(std::size_t dimension, Read read)
        : _read(read),
          _origin(dimension),
          _block(dimension * blockSize, Vector::NO_INIT)
    {
    }

    /// The moments of the points i < n.
    Moments collect(std::size_t n)
    {
        std::size_t first = 0;
        while (first < n && !_read(first, _origin.begin(), 1)) ++first;
        Moments result = collect(first, n);
        result.mean += _origin;
        return result;
    }

private:
    static constexpr std::size_t blockSize = 128;

    Moments collect(std::size_t begin, std::size_t end)
    {
        if (end - begin <= blockSize) return collectBlock(begin, end);
        std::size_t const middle = begin + (end - begin) / 2;
        Moments result = collect(begin, middle);
        result.merge(collect(middle, end));
        return result;
    }

    Moments collectBlock(std::size_t begin, std::size_t end)
    {
        double* const block = _block.begin();
        std::size_t count = 0;
        for (std::size_t i = begin; i < end; ++i)
            if (_read(i, block + count, blockSize)) ++count;
        return momentsOfBlock(block, blockSize, count, _origin);
    }

    Read _read;
    Vector _origin;
    Vector _block;
};

}  // namespace measuremath
