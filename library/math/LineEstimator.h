#pragma once

#include "math/Estimator.h"

/// Line in the plane by orthogonal regression: parameters (theta, rho), minimal sample 2.
///
/// A point (x, y) lies on the line when cos(theta) · y - sin(theta) · x - rho = 0; theta, in
/// (-π/2, π/2], is the direction of the line. The residual is that value: the signed orthogonal
/// distance, positive on the left of the direction. Angles in radians, the rest in the units of
/// the data. The covariance stays the identity.
class MEASUREMATH_API LineEstimator : public Estimator {
public:
    LineEstimator();

    /// @throws MathError "Invalid data vector size in collection" unless every datum is (x, y),
    ///         and as the base does.
    void setDataColl(std::vector<Vector> const& dataColl) override;

protected:
    /// Minimises the sum of squared orthogonal distances.
    /// @return false for an isotropic scatter, which has no direction, and for data that are not
    ///         finite.
    bool computeEstimation(std::vector<Vector> const& dataColl) override;
    void computeResiduals(Vector const& params, Vector& residuals) const override;

    bool estimInliers(std::vector<bool> const& isOutlier) override;

    /// One residual for each datum (x, y) of `coll`.
    /// @throws MathError "Uncompatible vector/coll sizes", "Invalid parameters vector size"
    static void computeResiduals(Vector const& params, std::vector<Vector> const& coll,
                                 Vector& residuals);

private:
    template <class Points>
    bool fit(Points const& points);
};
