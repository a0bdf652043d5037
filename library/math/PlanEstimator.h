#pragma once

#include "math/Estimator.h"

#include <memory>

class SVDSolver;

/// Plane in space: parameters (a, b, c, d) with a·x + b·y + c·z - d = 0, minimal sample 4.
///
/// The parameters are the unit 4-vector p that minimises |A·p|, with one row (x, y, z, -1) in A
/// for each point; the normal (a, b, c) is not of unit length. The residual is the signed
/// distance to the plane, on the side to which the normal points counted positive, in the units
/// of the data.
///
/// Four points or more minimise an algebraic distance: the sum of squared orthogonal distances
/// divided by 1 + D², where D is the plane's distance to the origin. The plane is therefore pulled
/// away from the origin: with noise sigma, smallest in-plane spread s, and the centroid of the
/// data at distance L from the origin's foot on the plane, it tilts by about
/// (sigma / s)² · L · D / (1 + D²). That is nothing to speak of for most scans (sigma = 1 cm,
/// s = 10 m, L = 100 m, D = 2 m: 0.04 mrad), but much for a small noisy patch in coordinates far
/// from the origin. Centre the data first where that matters: L is 0 then, and the fit is the
/// orthogonal one.
class MEASUREMATH_API PlanEstimator : public Estimator {
public:
    PlanEstimator();
    ~PlanEstimator() override;

    /// (a, b, c), not normalised. @throws MathError "Call estim before use"
    Vector getNormal() const;

    /// d as estimated, not divided by the length of the normal.
    /// @throws MathError "Call estim before use"
    double getDistToOrigin() const;

    /// RMS distance of the data of the last fit to the plane, in their units.
    /// @throws MathError "Call estim before use"
    double getRMS3D() const;

    /// @throws MathError "Invalid data vector size in collection" unless every datum is (x, y, z),
    ///         and as the base does.
    void setDataColl(std::vector<Vector> const& dataColl) override;

protected:
    /// @return false when the points do not define one plane (all on a line), or are not finite.
    bool computeEstimation(std::vector<Vector> const& dataColl) override;
    void computeResiduals(Vector const& params, Vector& residuals) const override;

    bool estimInliers(std::vector<bool> const& isOutlier) override;

    /// One residual for each datum (x, y, z) of `coll`.
    /// @throws MathError "Uncompatible vector/coll sizes", "Invalid parameters vector size"
    static void computeResiduals(Vector const& params, std::vector<Vector> const& coll,
                                 Vector& residuals);

    std::unique_ptr<SVDSolver> _solver;  ///< Solves the homogeneous system of the fit.
    double _rms3D = -1.0;                ///< RMS distance of the last fit.

private:
    template <class Points>
    bool fit(Points const& points);
};
