#pragma once

#include "math/CostFun.h"
#include "math/internal/RoundFit.h"

/// The problem behind CylinderEstimator, in normalised coordinates: parameters (p, d, r).
namespace measuremath {

/// Distances of points to the surface of a cylinder, then the two equations |d|² - 1 = 0 and
/// p·d = 0, which fix what the distances leave open and hold exactly at every minimum.
class CylinderCostFun : public CostFun {
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

/// The cylinder of the best direction, by the algebraic distances of the projected points to their
/// circle. Empty when the points define none: on a line or plane within their rounding, or not
/// finite. Cost in proportion to the number of points, up to a hundred of them.
Vector algebraicCylinder(NormalisedPoints const& points);

/// The same cylinder with d of unit length, its largest component positive, and p nearest to the
/// origin.
void standardiseCylinder(Vector& params);

/// Carries parameters and their covariance, where `variance` is that of the residuals, from
/// normalised to the data's coordinates, and takes out of it what the two constraints, which are
/// exact, contributed as if they were measured.
void denormaliseCylinder(NormalisedPoints const& points, double variance, Vector& params,
                         Matrix& cov);

/// Signed distances to the cylinder of the n points with these x, y and z.
void cylinderResiduals(double const* x, double const* y, double const* z, std::size_t n,
                       Vector const& params, double* residuals);

}  // namespace measuremath
