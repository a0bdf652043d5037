#pragma once

#include "math/NLEstimator.h"

/// Circle or sphere by orthogonal distances: parameters (c_0, …, c_{d-1}, r), the centre and the
/// radius in the units of the data; minimal sample d + 1. What `CircleEstimator` (d = 2) and
/// `SphereEstimator` (d = 3) share.
///
/// The residual is |x - c| - r, the signed distance, positive outside. A minimal sample is solved
/// in closed form, with the identity as its covariance. More points start from the least algebraic
/// distances (Coope, Circle fitting by linear and nonlinear least squares, JOTA 76, 1993) and are
/// refined by Levenberg-Marquardt to the least squared distances (Gander, Golub and Strebel,
/// Least-squares fitting of circles and ellipses, BIT 34, 1994). Initial parameters need not be
/// set; they are overwritten. The solver and the cost function work in coordinates normalised to
/// the data, so that a far origin costs no digits.
class MEASUREMATH_API RoundEstimator : public NLEstimator {
public:
    /// Centre of the last fit, d coordinates. @throws MathError "Call estim before use"
    Vector getCenter() const;

    /// Radius of the last fit. @throws MathError "Call estim before use"
    double getRadius() const;

    /// @throws MathError "Invalid data vector size in collection" unless every datum has d
    ///         coordinates, and as the base does.
    void setDataColl(std::vector<Vector> const& dataColl) override;

protected:
    explicit RoundEstimator(unsigned int dimension);  ///< For points of this dimension.

    /// @return false when the points define no circle or sphere: on a line or a plane within their
    ///         rounding, or not finite. A start that already is the minimum counts as a fit.
    bool computeEstimation(std::vector<Vector> const& dataColl) override;
    void prepareCostFun(std::vector<Vector> const& dataColl) override;
    void computeResiduals(Vector const& params, Vector& residuals) const override;

private:
    unsigned int dimension() const { return getNbParams() - 1; }
};
