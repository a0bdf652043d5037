#pragma once

#include "math/Estimator.h"

#include <memory>

class Buckets;
class SVDSolver;

/// Conic in the plane by linear least squares: parameters (p0, p1, p2, p3, p4) with
/// x² + p0·y² + p1·x·y + p2·x + p3·y + p4 = 0, minimal sample 5.
///
/// `Conic.h` converts them to centre, axes and angle; its order is the same. The residual is the
/// value of the conic at the point, signed, in the data's units squared: an algebraic distance,
/// about 2·b times the geometric one near a circle of radius b. Random samples take their five
/// points from five different cells of an 8 × 8 grid over the data.
///
/// The system is solved in coordinates centred and scaled to the data, in which the same conic
/// has the same least sum of squares, and its parameters are carried back: a far origin costs no
/// more digits than the parameters themselves can hold.
class MEASUREMATH_API EllipseEstimator : public Estimator {
public:
    EllipseEstimator();
    ~EllipseEstimator() override;

    /// @throws MathError as the base does; "Invalid data vector size" unless every datum is (x, y)
    ///         and what else `Buckets::setDataColl` throws, when the base has stored the collection
    ///         already.
    void setDataColl(std::vector<Vector> const& dataColl) override;

protected:
    /// @return true also for a degenerate sample, whose conic has the least norm; false only for
    ///         data that are not finite.
    bool computeEstimation(std::vector<Vector> const& dataColl) override;
    /// @throws MathError "Not enought valid buckets to ensure requested number of samples" when the
    ///         data occupy fewer than five cells.
    void computeDataRandomSample(std::vector<Vector>& sample) const override;
    /// Resizes `residuals` to the number of data.
    /// @throws MathError "Invalid parameter, size of params must be 5 or more"
    void computeResiduals(Vector const& params, Vector& residuals) const override;

    std::unique_ptr<Buckets> _buckets;   ///< Spreads the samples over the data.
    std::unique_ptr<SVDSolver> _solver;  ///< Solves the system of the fit.
};
