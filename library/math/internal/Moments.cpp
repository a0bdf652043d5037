#include "math/internal/Moments.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace measuremath {
namespace {

// Sum of block(begin, end) over blocks that cover [begin, end). Halves are added, so that rounding
// grows with the logarithm of the number of points.
template <class Block>
auto sumPairwise(std::size_t begin, std::size_t end, Block const& block)
{
    if (end - begin <= 128) return block(begin, end);
    std::size_t const middle = begin + (end - begin) / 2;
    auto result = sumPairwise(begin, middle, block);
    result += sumPairwise(middle, end, block);
    return result;
}

// Points of one size, some of which may not be used.
class Points {
public:
    Points(Vector const* points, std::size_t n, int dimension, bool const* used,
           char const* badSize)
        : _points(points),
          _n(n),
          _dimension(dimension),
          _used(used),
          _badSize(badSize)
    {
    }

    bool isUsed(std::size_t i) const { return _used == nullptr || _used[i]; }

    double const* operator[](std::size_t i) const
    {
        require(_points[i].getSize() == _dimension, _badSize);
        return _points[i].begin();
    }

    // A place amid the points, one of them used at least: the mean of some 64 spread over them.
    // Sums of products about it need only a small correction to be about the mean of all.
    Vector middle() const
    {
        Vector mean(_dimension);
        std::size_t first = 0;
        while (!isUsed(first)) ++first;
        double const* const origin = (*this)[first];
        double* const m = mean.begin();
        double count = 0;
        for (std::size_t i = first; i < _n; i += std::max<std::size_t>(_n / 64, 1)) {
            if (!isUsed(i)) continue;
            double const* const p = (*this)[i];
            for (int k = 0; k < _dimension; ++k) m[k] += p[k] - origin[k];
            ++count;
        }
        mean /= count;
        return mean += _points[first];
    }

private:
    Vector const* _points;
    std::size_t _n;
    int _dimension;
    bool const* _used;
    char const* _badSize;
};

// Two doubles in one register. As loops over three coordinates the sums below take twice the time.
using Two = double __attribute__((vector_size(16)));

Two load(double const* p)
{
    Two two;
    std::memcpy(&two, p, sizeof two);
    return two;
}

// Sums over pairs of points (a, b), each less a place amid its set.
struct PairSums {
    // Of a_x·b, a_y·b and a_z·b in x and y of b; of the same in z of b, with the sums of a; of b in
    // x and y; of b in z, with the count; of |a|² and |b|² in two portions.
    Two sums[10];

    PairSums& operator+=(PairSums const& other)
    {
        for (int i = 0; i < 10; ++i) sums[i] += other.sums[i];
        return *this;
    }
};

PairSums sumPairs(std::size_t begin, std::size_t end, Points const& a, Points const& b,
                  double const* originA, double const* originB)
{
    Two const oa = load(originA), ob = load(originB);
    double const oaz = originA[2], obz = originB[2];
    Two x{}, y{}, z{}, xz{}, yz{}, zz{}, bxy{}, bz{}, aa{}, bb{};
    for (std::size_t i = begin; i < end; ++i) {
        if (!a.isUsed(i)) continue;
        double const* const p = a[i];
        double const* const q = b[i];
        Two const pxy = load(p) - oa;
        Two const qxy = load(q) - ob;
        double const pz = p[2] - oaz;
        Two const qz = {q[2] - obz, 1.0};
        x += pxy[0] * qxy;
        y += pxy[1] * qxy;
        z += pz * qxy;
        xz += pxy[0] * qz;
        yz += pxy[1] * qz;
        zz += pz * qz;
        bxy += qxy;
        bz += qz;
        aa += pxy * pxy;
        bb += qxy * qxy;
        aa[0] += pz * pz;
        bb[0] += qz[0] * qz[0];
    }
    return {{x, y, z, xz, yz, zz, bxy, bz, aa, bb}};
}

// Sums of points less an origin, and of their products (upper triangle).
struct PointSums {
    Vector first;
    Matrix second;

    PointSums& operator+=(PointSums const& other)
    {
        first += other.first;
        second += other.second;
        return *this;
    }
};

PointSums sumPoints(std::size_t begin, std::size_t end, Points const& points, Vector const& origin)
{
    int const d = origin.getSize();
    PointSums sums{Vector(d), Matrix(d, d)};
    double* const first = sums.first.begin();
    std::vector<double> x(origin.size());
    for (std::size_t i = begin; i < end; ++i) {
        double const* const p = points[i];
        for (std::size_t k = 0; k < x.size(); ++k) first[k] += x[k] = p[k] - origin[k];
        double* row = sums.second.begin();
        for (std::size_t j = 0; j < x.size(); ++j, row += d)
            for (std::size_t k = j; k < x.size(); ++k) row[k] += x[j] * x[k];
    }
    return sums;
}

}  // namespace

Moments momentsOf(Vector const* points, std::size_t n, int dimension, char const* badSize)
{
    auto const count = static_cast<double>(n);
    if (dimension == 3) {  // what measurements are, and what runs in registers
        PairMoments const same = momentsOfPairs(points, points, n, nullptr, badSize);
        Matrix covariance = same.products;
        for (double& c : covariance) c /= count;
        return {same.meanA, covariance};
    }
    Points const all(points, n, dimension, nullptr, badSize);
    Vector const origin = all.middle();
    PointSums sums = sumPairwise(0, n, [&](std::size_t begin, std::size_t end) {
        return sumPoints(begin, end, all, origin);
    });
    for (double& s : sums.first) s /= count;
    double const* const m = sums.first.begin();
    double* const c = sums.second.begin();
    std::ptrdiff_t const d = dimension;
    for (std::ptrdiff_t i = 0; i < d; ++i)
        for (std::ptrdiff_t j = i; j < d; ++j)
            c[j * d + i] = c[i * d + j] = c[i * d + j] / count - m[i] * m[j];
    return {origin + sums.first, sums.second};
}

PairMoments momentsOfPairs(Vector const* a, Vector const* b, std::size_t n, bool const* used,
                           char const* badSize)
{
    Points const pointsA(a, n, 3, used, badSize);
    Points const pointsB(b, n, 3, used, badSize);
    Vector const originA = pointsA.middle();
    Vector const originB = pointsB.middle();
    double const* const oa = originA.begin();
    double const* const ob = originB.begin();
    PairSums const total = sumPairwise(0, n, [&](std::size_t begin, std::size_t end) {
        return sumPairs(begin, end, pointsA, pointsB, oa, ob);
    });

    auto const& [x, y, z, xz, yz, zz, bxy, bz, aa, bb] = total.sums;
    double const count = bz[1];
    Vector const stepA = Vector::of({xz[1], yz[1], zz[1]}) / count;
    Vector const stepB = Vector::of({bxy[0], bxy[1], bz[0]}) / count;
    Matrix products = Matrix::of({{x[0], x[1], xz[0]}, {y[0], y[1], yz[0]}, {z[0], z[1], zz[0]}});
    for (int j = 0; j < 3; ++j)
        for (int k = 0; k < 3; ++k) products[j][k] -= count * stepA[j] * stepB[k];
    return {originA + stepA, originB + stepB, products, aa[0] + aa[1] - count * stepA.dot(stepA),
            bb[0] + bb[1] - count * stepB.dot(stepB)};
}

}  // namespace measuremath
