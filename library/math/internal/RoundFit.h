#pragma once

#include "math/CostFun.h"
#include "math/Matrix.h"
#include "math/Vector.h"

#include <vector>

/// What the fits of circles, spheres and cylinders share.
namespace measuremath {

/// Tolerance of the solvers of these fits: the last digits matter, and an iteration more is cheap.
inline constexpr double fitTolerance = 1e-14;

/// Points in coordinates in which they lie within the unit cube around their mean: there the
/// solver's tolerances mean the same for data of every size and place.
class NormalisedPoints {
public:
    NormalisedPoints() = default;
    /// The points have `dimension` coordinates.
    NormalisedPoints(std::vector<Vector> const& coll, unsigned int dimension);

    std::size_t size() const { return _size; }
    unsigned int dimension() const { return _origin.size(); }
    /// Normalised coordinate `k` of every point, one after the other.
    double const* coordinate(unsigned int k) const { return _coordinates.data() + k * _size; }
    Vector const& origin() const { return _origin; }  ///< The mean, in the data's coordinates.
    double scale() const { return _scale; }           ///< Length of 1 in the data's units.
    /// Rounding of the data themselves, in normalised units; NaN unless they are finite.
    double resolution() const { return _resolution; }

private:
    std::size_t _size = 0;
    Vector _origin;
    double _scale = 1.0;
    double _resolution = 0.0;
    std::vector<double> _coordinates;
};

/// Residuals |x - c| - r of points about a circle or sphere (c, r), both normalised.
class RoundCostFun : public CostFun {
public:
    /// Takes the points, and the dimensions of the problem from them.
    void setPoints(NormalisedPoints points);
    NormalisedPoints const& points() const { return _points; }

protected:
    void computeFunValue(Vector const& params) override;
    void computeAnaJacValue(Vector const& params) override;

private:
    NormalisedPoints _points;
};

/// The circle or sphere (c, r) that minimises the algebraic distances |x - c|² - r², exact for a
/// minimal sample (Coope 1993). Empty when the points define none: on a line or plane within
/// their rounding, or not finite.
Vector algebraicRound(NormalisedPoints const& points);

/// Carries the parameters (c, r) and their covariance from normalised to the data's coordinates.
void denormaliseRound(NormalisedPoints const& points, Vector& params, Matrix& cov);

/// Residuals |x - c| - r of the packed points whose coordinate k is coordinates[k].
void roundResiduals(std::vector<double const*> const& coordinates, Vector const& params,
                    Vector& residuals);

}  // namespace measuremath
