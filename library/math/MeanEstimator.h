#pragma once

#include "math/Estimator.h"

/// Mean of points of d dimensions: parameters (m_0, …, m_{d-1}), minimal sample 1.
///
/// The covariance is the population covariance of the points, divided by their number. The
/// residual of a point x is its distance |x - m|, never negative.
class MEASUREMATH_API MeanEstimator : public Estimator {
public:
    /// For points of one dimension; see `setDataSize`.
    MeanEstimator();

    /// Sets the dimension of the points; the parameters become 0 and the covariance the identity.
    /// @throws MathError "NbParams should not be null" for d = 0.
    void setDataSize(unsigned int d);

    /// @throws MathError "Invalid data vector size in collection", and as the base does.
    void setDataColl(std::vector<Vector> const& dataColl) override;

protected:
    /// Never degenerate. @throws MathError "Invalid data vector size in collection"
    bool computeEstimation(std::vector<Vector> const& dataColl) override;
    /// @throws MathError "Invalid data vector size in collection" when the dimension has changed
    ///         since the data were set.
    void computeResiduals(Vector const& params, Vector& residuals) const override;
};
