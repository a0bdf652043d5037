#pragma once

#include "math/NLEstimator.h"

/// Cylinder by orthogonal distances: parameters (px, py, pz, dx, dy, dz, r), minimal sample 6.
///
/// p is the point of the axis nearest to the mean of the data, d the unit direction of the axis,
/// its largest component positive, and r the radius, all in the units of the data. The residual is
/// the signed distance to the surface, positive outside.
///
/// The direction is searched over the hemisphere: for each one the circle through the projected
/// points has a closed form (D. Eberly, Fitting 3D data with a cylinder, 2003), and the best are
/// refined by Levenberg-Marquardt to the least squared distances. The two constraints, |d| = 1 and
/// p's place along the axis, are equations of the system, so the covariance has the rank 5. Of
/// large collections a part serves the search. Initial parameters need not be set; they are
/// overwritten.
class MEASUREMATH_API CylinderEstimator : public NLEstimator {
public:
    CylinderEstimator();

    /// Point of the axis nearest to the mean of the data. @throws MathError "Call estim before use"
    Vector getAxisPoint() const;

    /// Unit direction of the axis. @throws MathError "Call estim before use"
    Vector getAxisDirection() const;

    /// Radius. @throws MathError "Call estim before use"
    double getRadius() const;

    /// @throws MathError "Invalid data vector size in collection" unless every datum is (x, y, z),
    ///         and as the base does.
    void setDataColl(std::vector<Vector> const& dataColl) override;

protected:
    /// @return false when the points define no cylinder: on a line or a plane within their
    ///         rounding, or not finite.
    bool computeEstimation(std::vector<Vector> const& dataColl) override;
    void prepareCostFun(std::vector<Vector> const& dataColl) override;
    void computeResiduals(Vector const& params, Vector& residuals) const override;
};
