#pragma once

#include "math/Vector.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

/// Points of d coordinates in the two forms that an estimator finds them in. Both have at least one
/// point, and forEach calls action(point) in their order.
namespace measuremath {

template <std::size_t d>
using Coordinates = std::array<double, d>;

/// All points of a collection.
template <std::size_t d>
class CollectionView {
public:
    explicit CollectionView(std::vector<Vector> const& coll) : _coll(coll) {}

    std::size_t size() const { return _coll.size(); }
    Coordinates<d> front() const { return point(_coll.front()); }
    template <class Action>
    void forEach(Action action) const
    {
        for (Vector const& datum : _coll) action(point(datum));
    }

private:
    static Coordinates<d> point(Vector const& datum)
    {
        Coordinates<d> p;
        std::copy_n(datum.begin(), d, p.begin());
        return p;
    }

    std::vector<Vector> const& _coll;
};

/// The points of packed coordinates whose flag is false.
template <std::size_t d>
class InlierView {
public:
    InlierView(std::vector<bool> const& isOutlier, std::array<double const*, d> const& coordinates)
        : _isOutlier(isOutlier),
          _coordinates(coordinates),
          _size(static_cast<std::size_t>(std::count(isOutlier.begin(), isOutlier.end(), false)))
    {
    }

    std::size_t size() const { return _size; }
    Coordinates<d> front() const
    {
        auto const first = std::find(_isOutlier.begin(), _isOutlier.end(), false);
        return point(static_cast<std::size_t>(first - _isOutlier.begin()));
    }
    template <class Action>
    void forEach(Action action) const
    {
        for (std::size_t i = 0; i < _isOutlier.size(); ++i)
            if (!_isOutlier[i]) action(point(i));
    }

private:
    Coordinates<d> point(std::size_t i) const
    {
        Coordinates<d> p;
        for (std::size_t k = 0; k < d; ++k) p[k] = _coordinates[k][i];
        return p;
    }

    std::vector<bool> const& _isOutlier;
    std::array<double const*, d> _coordinates;
    std::size_t _size;
};

}  // namespace measuremath
